// A long query runs on the main thread.
//
// vorncheck --main-thread=10: Database::Select took ... s on the main thread

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  Execute(
      "CREATE VIEW statistic AS WITH RECURSIVE series(number) AS"
      " (SELECT 1 UNION ALL SELECT number + 1 FROM series WHERE number < 1000000)"
      " SELECT count(*) AS count, sum(number) AS sum FROM series");
  SelectRequest request;
  Address(request, "statistic");
  Cursor cursor;
  return Database().Select(request, cursor);  // vorncheck: main-thread, called at
}
