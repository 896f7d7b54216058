// A request is used for two rows, but keeps the values of the first one.
//
// vorncheck: the column "name" keeps its first value, "Kim"; ignored is "Miles"

#include "Scene.h"

int main() {
  CreateContacts();
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");  // vorncheck: ignored-value, set at
  Check(Database().Upsert(request));
  request.SetData(kName, "Miles");  // vorncheck: ignored-value, called at
  return Database().Upsert(request);
}
