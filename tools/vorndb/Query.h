// The commands that read rows.

#ifndef VORNDB_QUERY_H
#define VORNDB_QUERY_H

#include "Arguments.h"

namespace vorndb {

// Each throws Failure. What of a result cannot be shown is told on standard error; an
// export is not made of it.
void Select(const Arguments& arguments);
void Join(const Arguments& arguments);
void Export(const Arguments& arguments);

}  // namespace vorndb

#endif  // VORNDB_QUERY_H
