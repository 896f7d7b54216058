// The third row of a view cannot be computed. The query returns 0, with two rows.
//
// vorncheck: Database::Select returned 0, but its result ends after 2 rows: SQL logic error

#include "Cursor.h"
#include "Scene.h"
#include "SelectRequest.h"

int main() {
  Execute(
      "CREATE VIEW balance AS SELECT key AS account, abs(value) AS amount "
      "FROM json_each('[10, 20, -9223372036854775808, 40]')");
  SelectRequest request;
  Address(request, "balance");
  Cursor cursor;
  return Database().Select(request, cursor);  // vorncheck: truncated-result, called at
}
