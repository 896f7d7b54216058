// The table has one column. The cursor counts one row, though there are two.
//
// vorncheck: the result has the column "name" alone, so only the first of 2 rows can be reached

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  Execute("CREATE TABLE tag (name TEXT); INSERT INTO tag VALUES ('home'), ('work')");
  SelectRequest request;
  Address(request, "tag");
  Cursor cursor;
  return Database().Select(request, cursor);  // vorncheck: hidden-rows, called at
}
