// A result as a table, for people.

#ifndef VORNDB_TABLEFORMAT_H
#define VORNDB_TABLEFORMAT_H

#include <cstddef>
#include <optional>
#include <ostream>
#include <vector>

namespace vorndb {

class Result;

// The widths of columns that stand `gap` apart, so that they fit into `available`: the
// widest are cut first, to an equal width, none below a few characters.
std::vector<std::size_t> FitWidths(const std::vector<std::size_t>& natural, std::size_t gap,
                                   std::size_t available);

void WriteTable(Result& result, std::optional<std::size_t> width, std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_TABLEFORMAT_H
