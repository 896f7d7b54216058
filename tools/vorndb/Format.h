// The forms in which a result is written.

#ifndef VORNDB_FORMAT_H
#define VORNDB_FORMAT_H

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace vorndb {

class Result;

// Throws UsageError for a text that is no format.
void RequireFormat(const std::string& text);

// By the ending of its name; throws UsageError for another one.
std::string FormatOfFile(const std::string& path);

// Writes a result; without a format, as a table. A table's lines fit the width if one is
// given and the number of columns allows it. What a format cannot hold becomes a doubt.
void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_FORMAT_H
