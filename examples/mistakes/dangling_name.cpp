// The request keeps the pointer to a column's name. The name has changed when the request runs, and
// so the value is written into another column.
//
// vorncheck: the column name "name" is "phone" now, when Database::Upsert reads it

#include <string>

#include "Scene.h"

int main() {
  CreateContacts();
  std::string column = kName;
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(column.c_str(), "Kim");  // vorncheck: dangling-name, set at
  column = kPhone;
  return Database().Upsert(request);  // vorncheck: dangling-name, called at
}
