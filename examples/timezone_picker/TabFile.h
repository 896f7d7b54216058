// Tab-separated text files in which lines that begin with "#" are comments.

#ifndef TIMEZONE_PICKER_TABFILE_H
#define TIMEZONE_PICKER_TABFILE_H

#include <cstddef>
#include <string>
#include <vector>

struct TabRow {
  std::string place;  // "file:line", to begin a message with
  std::vector<std::string> fields;
};

// Reads all rows of a file. Throws std::runtime_error, naming the file and the
// line, when it cannot be read, has no rows, or has a row with fewer than `least`
// or more than `most` fields.
std::vector<TabRow> ReadTabFile(const std::string& path, std::size_t least, std::size_t most);

#endif  // TIMEZONE_PICKER_TABFILE_H
