// The name of the column is in capitals. The read fails, and leaves the text empty.
//
// vorncheck: Cursor::GetString found no column "PHONE"

#include <string>

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100");
  SelectRequest request;
  Address(request, "contact");
  Cursor cursor;
  Check(Database().Select(request, cursor));
  Check(cursor.MoveToNext());
  std::string phone;
  return cursor.GetString("PHONE", phone);  // vorncheck: unread-failure, read at
}
