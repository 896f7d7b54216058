// The name of the column is in capitals. The read fails, and leaves the text empty.
//
// vorncheck: Cursor::GetString found no column "PHONE"

#include <string>

#include "Scene.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100");
  Cursor cursor;
  ReadContacts(cursor);
  std::string phone;
  return cursor.GetString("PHONE", phone);  // vorncheck: unread-failure, called at
}
