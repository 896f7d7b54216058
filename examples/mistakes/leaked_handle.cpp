// The directory does not exist. Each attempt leaks memory of SQLite's.
//
// vorncheck: Database::Select could not open "missing/contacts.db", and 1 of SQLite's handles
//   leaked

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  SelectRequest request;
  request.SetPath("missing", kFile);
  request.SetTable("contact");
  Cursor cursor;
  return Database().Select(request, cursor);  // vorncheck: leaked-handle, called at
}
