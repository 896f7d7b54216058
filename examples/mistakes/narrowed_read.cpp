// GetInt reads the digits at the beginning of a text, and returns 0.
//
// vorncheck: Cursor::GetInt read 100 from the cell "100-7"

#include "Scene.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100-7");
  Cursor cursor;
  ReadContacts(cursor);
  int phone = 0;
  return cursor.GetInt(kPhone, phone);  // vorncheck: narrowed-read, called at
}
