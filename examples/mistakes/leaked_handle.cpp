// The directory does not exist. Each attempt leaks memory of SQLite's.

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  SelectRequest request;
  request.SetPath("missing", kFile);
  request.SetTable("contact");
  Cursor cursor;
  return Database().Select(request, cursor);  // vorncheck: leaked-handle, run at
}
