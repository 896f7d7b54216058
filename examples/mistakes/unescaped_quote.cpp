// The single quote in a value is not doubled, and ends the value in the statement.
//
// vorncheck: the value "Miles O'Brien" ends early in the statement, at its quote

#include "Scene.h"

int main() {
  CreateContacts();
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Miles O'Brien");  // vorncheck: unescaped-quote, set at
  return Database().Upsert(request);        // vorncheck: unescaped-quote, called at
}
