#include "TabFile.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace {

// A NUL, say, would end the value early in a statement; a CR is no part of a name.
bool HasControlCharacter(const std::string& line) {
  return std::any_of(line.begin(), line.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; });
}

std::vector<std::string> Split(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = line.find('\t', begin);
    if (end == std::string::npos) {
      fields.push_back(line.substr(begin));
      return fields;
    }
    fields.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
}

TabRow ParseLine(const std::string& place, const std::string& line, std::size_t least,
                 std::size_t most) {
  if (HasControlCharacter(line)) {
    throw std::runtime_error(place + ": the line has a control character");
  }
  TabRow row{place, Split(line)};
  if (row.fields.size() < least || row.fields.size() > most) {
    throw std::runtime_error(place + ": the number of fields is " +
                             std::to_string(row.fields.size()) + ", not " + std::to_string(least) +
                             (least == most ? "" : " to " + std::to_string(most)));
  }
  return row;
}

}  // namespace

std::vector<TabRow> ReadTabFile(const std::string& path, std::size_t least, std::size_t most) {
  std::ifstream file(path);
  std::vector<TabRow> rows;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] != '#') {
      rows.push_back(ParseLine(path + ":" + std::to_string(number), line, least, most));
    }
  }
  // Reading stops at the end of the file, or earlier when it fails.
  if (!file.eof()) {
    throw std::runtime_error("cannot read " + path);
  }
  if (rows.empty()) {
    throw std::runtime_error(path + " has no rows");
  }
  return rows;
}
