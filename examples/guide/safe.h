// What a host needs to be safe from the library's sharp edges; docs/guide.md explains
// each. Copy what you need.

#ifndef GUIDE_SAFE_H
#define GUIDE_SAFE_H

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

#include "BaseSet.h"
#include "Cursor.h"

//! [quoting]
inline std::string Doubled(const std::string& text, char quote) {
  std::string doubled;
  for (const char c : text) {
    doubled.append(c == quote ? 2 : 1, c);
  }
  return doubled;
}

// A value, or the table name of CheckExistTable: the library adds the outer quotes.
inline std::string Quoted(const std::string& value) { return Doubled(value, '\''); }

// The name of a table or of a column: the library adds nothing.
inline std::string QuotedName(const std::string& name) { return '"' + Doubled(name, '"') + '"'; }
//! [quoting]

//! [doubles]
// Seventeen digits tell every double from every other. The classic locale writes a point
// and no separators, whatever the program has set for its users.
inline std::string ExactText(double value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << std::setprecision(17) << value;
  return stream.str();
}

inline bool GetExact(Cursor& cursor, const char* column, double& value) {
  std::string text;
  if (cursor.GetString(column, text) != 0) {
    return false;
  }
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  double number = 0;
  if (!(stream >> number)) {
    return false;
  }
  value = number;
  return true;
}
//! [doubles]

//! [integers]
// For what SetData takes: std::to_string(value).c_str().
inline bool GetLong(Cursor& cursor, const char* column, long long& value) {
  std::string text;
  if (cursor.GetString(column, text) != 0) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(text.c_str(), &end, 10);
  if (errno != 0 || end == text.c_str() || *end != '\0') {
    return false;
  }
  value = number;
  return true;
}
//! [integers]

//! [conditions]
// Ask this before a delete or an update.
inline bool HasCondition(BaseSet& request) {
  BaseSet::ColumnMap conditions;
  request.GetWhereMap(conditions);
  return !conditions.empty();
}
//! [conditions]

//! [directory]
// Whether a file can be opened or made in a directory, so far as that can be told before.
// The working directory is "." here; the library takes an empty text for it, too.
inline bool IsWritableDirectory(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         access(path.c_str(), R_OK | W_OK | X_OK) == 0;
}
//! [directory]

#endif  // GUIDE_SAFE_H
