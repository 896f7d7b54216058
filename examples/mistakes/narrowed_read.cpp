// GetInt reads the digits at the beginning of a text, and returns 0.
//
// vorncheck: Cursor::GetInt read 100 from the cell "100-7"

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100-7");
  SelectRequest request;
  Address(request, "contact");
  Cursor cursor;
  Check(Database().Select(request, cursor));
  Check(cursor.MoveToNext());
  int phone = 0;
  return cursor.GetInt(kPhone, phone);  // vorncheck: narrowed-read, read at
}
