// A request is used for two tables. The copy of the first name leaks.
//
// vorncheck: the table name was "contact" before SelectRequest::SetTable set it to "sqlite_master";
//   the earlier copy leaks

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  CreateContacts();
  SelectRequest request;
  request.SetPath(".", kFile);
  Cursor cursor;
  request.SetTable("contact");  // vorncheck: leaked-setter, set at
  Check(Database().Select(request, cursor));
  request.SetTable("sqlite_master");  // vorncheck: leaked-setter, called at
  return Database().Select(request, cursor);
}
