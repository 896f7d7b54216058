// The number is a double, of which six digits are written.

#include "Scene.h"

int main() {
  CreateContacts();
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");
  request.SetData(kPhone, 351912345678.0);  // vorncheck: lost-digits, set at
  return Database().Upsert(request);
}
