// The number of every contact is to be changed. An update without a condition is refused.
//
// vorncheck: Database::Update has no condition, so SQLite refuses it

#include "Scene.h"
#include "UpdateRequest.h"

int main() {
  CreateContacts();
  WriteContact("Kim", "100");
  UpdateRequest request;
  Address(request, "contact");
  request.SetData(kPhone, "200");
  return Database().Update(request);  // vorncheck: cut-update, called at
}
