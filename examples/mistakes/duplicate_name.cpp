// A request identifies columns by their pointers. The statement names one column twice.
//
// vorncheck: the statement names the column "name" twice

#include <string>

#include "Scene.h"

int main() {
  CreateContacts();
  const std::string columns[] = {"name", "name"};
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(columns[0].c_str(), "Kim");    // vorncheck: duplicate-name, and at
  request.SetData(columns[1].c_str(), "Miles");  // vorncheck: duplicate-name, set at
  return Database().Upsert(request);             // vorncheck: duplicate-name, called at
}
