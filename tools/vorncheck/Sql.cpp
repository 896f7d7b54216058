#include "Sql.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vorncheck {
namespace {

char Lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// SQLite takes every byte that is not ASCII for a letter.
bool IsLetter(char letter) {
  return (Lower(letter) >= 'a' && Lower(letter) <= 'z') || letter == '_' ||
         static_cast<unsigned char>(letter) >= 0x80;
}

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

// The end of the part of a name that begins at a position; the same position if it is neither
// plain nor in double quotes.
std::size_t EndOfPart(const std::string& name, std::size_t begin) {
  std::size_t end = begin;
  if (name[begin] == '"') {
    do {
      end = name.find('"', end + 1);
    } while (end != std::string::npos && name[++end] == '"');
    return end != std::string::npos ? end : begin;
  }
  while (IsLetter(name[end]) || (end > begin && IsDigit(name[end]))) {
    ++end;
  }
  return end;
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

bool IsReserved(const std::string& name) {
  return std::binary_search(std::begin(kReserved), std::end(kReserved), LowerCase(name));
}

}  // namespace

std::size_t LoneQuote(const std::string& text) {
  for (std::size_t at = text.find('\''); at != std::string::npos; at = text.find('\'', at + 2)) {
    if (text[at + 1] != '\'') {
      return at;
    }
  }
  return std::string::npos;
}

std::size_t OpenQuote(const std::string& name) {
  std::size_t open = std::string::npos;
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (open == std::string::npos && (name[at] == '\'' || name[at] == '"' || name[at] == '`')) {
      open = at;
    } else if (open != std::string::npos && name[at] == name[open]) {
      open = std::string::npos;
    }
  }
  return open;
}

const char* FaultOf(const std::string& name) {
  for (std::size_t begin = 0;; ++begin) {
    const std::size_t end = EndOfPart(name, begin);
    if (end == begin || (end < name.size() && name[end] != '.')) {
      return " is no plain identifier";
    }
    if (IsReserved(name.substr(begin, end - begin))) {
      return " is a reserved word";
    }
    if (end == name.size()) {
      return nullptr;
    }
    begin = end;
  }
}

std::string LowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), Lower);
  return name;
}

}  // namespace vorncheck
