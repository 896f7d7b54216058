// Names and values as they appear in a statement.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_SQL_H
#define VORNDATABASE_TOOLS_VORNCHECK_SQL_H

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace vorncheck {

inline char Lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// SQLite takes names that differ in ASCII case for the same.
inline std::string LowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), Lower);
  return name;
}

// The keywords that SQLite does not take for names, too, in the order of their letters.
constexpr std::string_view kReserved[] = {
    "add",        "all",     "alter",   "and",        "as",          "autoincrement",
    "between",    "case",    "cast",    "check",      "collate",     "commit",
    "constraint", "create",  "default", "deferrable", "delete",      "distinct",
    "drop",       "else",    "escape",  "except",     "exists",      "foreign",
    "from",       "group",   "having",  "in",         "index",       "insert",
    "intersect",  "into",    "is",      "isnull",     "join",        "limit",
    "not",        "nothing", "notnull", "null",       "on",          "or",
    "order",      "primary", "raise",   "references", "returning",   "select",
    "set",        "table",   "then",    "to",         "transaction", "union",
    "unique",     "update",  "using",   "values",     "when",        "where"};

// SQLite takes every byte that is not ASCII for a letter.
inline bool IsLetter(char letter) {
  return (Lower(letter) >= 'a' && Lower(letter) <= 'z') || letter == '_' ||
         static_cast<unsigned char>(letter) >= 0x80;
}

// The end of the part of a name that begins at a position; the same position if it is neither
// plain nor in double quotes.
inline std::size_t EndOfPart(const std::string& name, std::size_t begin) {
  std::size_t end = begin;
  if (name[begin] == '"') {
    do {
      end = name.find('"', end + 1);
    } while (end != std::string::npos && name[++end] == '"');
    return end != std::string::npos ? end : begin;
  }
  while (IsLetter(name[end]) || (end > begin && name[end] >= '0' && name[end] <= '9')) {
    ++end;
  }
  return end;
}

// The fault of a table or column name, which may be qualified, as in main.contact. Null if all
// parts are plain identifiers or in double quotes.
inline const char* FaultOf(const std::string& name) {
  for (std::size_t begin = 0;; ++begin) {
    const std::size_t end = EndOfPart(name, begin);
    if (end == begin || (end < name.size() && name[end] != '.')) {
      return " is no plain identifier";
    }
    const std::string part = LowerCase(name.substr(begin, end - begin));
    if (std::binary_search(std::begin(kReserved), std::end(kReserved), part)) {
      return " is a reserved word";
    }
    if (end == name.size()) {
      return nullptr;
    }
    begin = end;
  }
}

// The position of the first single quote that is not doubled, or npos.
inline std::size_t LoneQuote(const std::string& text) {
  std::size_t quote = text.find('\'');
  while (quote != std::string::npos && text[quote + 1] == '\'') {
    quote = text.find('\'', quote + 2);
  }
  return quote;
}

// The position of a quote in a name that is not closed, or npos.
inline std::size_t OpenQuote(const std::string& name) {
  std::size_t open = name.find_first_of("'\"`");
  while (open != std::string::npos) {
    const std::size_t close = name.find(name[open], open + 1);
    if (close == std::string::npos) {
      break;
    }
    open = name.find_first_of("'\"`", close + 1);
  }
  return open;
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_SQL_H
