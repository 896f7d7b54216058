// The containers behind the locks: private members of the classes under test,
// whose addresses a test must know.

#ifndef VORN_TESTS_SUPPORT_CONTAINERS_H
#define VORN_TESTS_SUPPORT_CONTAINERS_H

#include <map>
#include <string>
#include <vector>

#include "BaseSet.h"
#include "CreateRequest.h"
#include "Cursor.h"

using CellMap = std::map<std::string, std::vector<std::string>>;

BaseSet::ColumnMap& DataMapOf(BaseSet& set);
BaseSet::ColumnMap& WhereMapOf(BaseSet& set);
CreateRequest::ColumnKeys& ColumnKeysOf(CreateRequest& request);
CellMap& CellMapOf(Cursor& cursor);

#endif  // VORN_TESTS_SUPPORT_CONTAINERS_H
