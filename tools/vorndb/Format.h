// The forms in which a result is written.

#ifndef VORNDB_FORMAT_H
#define VORNDB_FORMAT_H

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace vorndb {

class Result;

enum class Format { kTable, kCsv, kJson, kLines };

// The name of a format, as on the command line; or nothing for an unknown one.
std::optional<Format> FormatNamed(const std::string& name);

// Writes a result. A table has lines of at most `width` columns where that can be, and of
// any width without one.
void Write(Result& result, Format format, std::optional<std::size_t> width, std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_FORMAT_H
