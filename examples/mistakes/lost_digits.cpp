// The number is a double, of which six digits are written.
//
// vorncheck: the column "phone" gets 3.51912e+11 for the double 351912345678

#include "Scene.h"

int main() {
  CreateContacts();
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");
  request.SetData(kPhone, 351912345678.0);  // vorncheck: lost-digits, called at
  return Database().Upsert(request);
}
