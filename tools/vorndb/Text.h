// Texts as a terminal shows them.

#ifndef VORNDB_TEXT_H
#define VORNDB_TEXT_H

#include <cstddef>
#include <string>

namespace vorndb {

// The text without anything that would act on a terminal instead of being shown: control
// characters and changes of direction are written as escapes, bytes that are no UTF-8 as
// U+FFFD.
std::string Printable(const std::string& text);

// "1 row", "2 rows".
std::string CountedRows(std::size_t count);

// The number of columns that a printable text takes on a terminal: two for wide
// characters, none for combining ones.
std::size_t DisplayWidth(const std::string& text);

// A printable text, cut to that width at most, with an ellipsis at the cut.
std::string CutToWidth(const std::string& text, std::size_t width);

}  // namespace vorndb

#endif  // VORNDB_TEXT_H
