// Columns are told apart by their pointers. The statement names one column twice.
//
// vorncheck: the statement names the column "name" twice

#include <string>

#include "Scene.h"

int main() {
  CreateContacts();
  const std::string column = kName;
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");             // vorncheck: duplicate-name, and at
  request.SetData(column.c_str(), "Miles");  // vorncheck: duplicate-name, set at
  return Database().Upsert(request);         // vorncheck: duplicate-name, run at
}
