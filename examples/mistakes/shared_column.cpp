// Both tables have a column "name", and share it in the cursor.
//
// vorncheck: several columns of the result are named "name", and share one list of cells

#include "Cursor.h"
#include "JoinRequest.h"
#include "Scene.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100");
  Execute("CREATE TABLE phone (name TEXT, number TEXT); INSERT INTO phone VALUES ('desk', 100)");
  JoinRequest request;
  request.SetPath(".", kFile);
  request.SetLeftJoin("contact", "phone");
  request.SetRightJoin("phone", "number");
  Cursor cursor;
  return Database().JoinSelect(request, cursor);  // vorncheck: shared-column, called at
}
