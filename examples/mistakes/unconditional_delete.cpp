// One contact is to be deleted. The condition is given as a value, and so every row is deleted.
//
// vorncheck: Database::Delete has no condition, so it deletes all rows

#include "DeleteRequest.h"
#include "Scene.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100");
  WriteContact("Miles", "200");
  DeleteRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");      // SetWhere is meant
  return Database().Delete(request);  // vorncheck: unconditional-delete, called at
}
