// The table's name is a reserved word of SQL, and is not in double quotes.
//
// vorncheck: the table name "order" is a reserved word

#include "Scene.h"

int main() {
  CreateRequest request;
  request.SetPath(".", kFile);
  request.SetTable("order");  // vorncheck: odd-identifier, set at
  request.SetColumnKey(kName, "TEXT");
  return Database().CreateTable(request);  // vorncheck: odd-identifier, called at
}
