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

bool IsQuote(char letter) { return letter == '"' || letter == '`' || letter == '['; }

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

// The end of the part of a name that begins at a position, or npos if it is neither plain nor
// properly quoted.
std::size_t EndOfPart(const std::string& name, std::size_t begin) {
  if (IsQuote(name[begin])) {
    const char quote = name[begin] == '[' ? ']' : name[begin];
    for (std::size_t at = begin + 1; at < name.size(); ++at) {
      if (name[at] == quote && (name[++at] != quote || quote == ']')) {
        return at;
      }
    }
    return std::string::npos;
  }
  std::size_t end = begin;
  while (IsLetter(name[end]) || (end > begin && IsDigit(name[end]))) {
    ++end;
  }
  return end > begin ? end : std::string::npos;
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

NameForm FormOf(const std::string& name) {
  NameForm form = NameForm::kPlain;
  for (std::size_t begin = 0;; ++begin) {
    const std::size_t end = EndOfPart(name, begin);
    if (end == std::string::npos || (end < name.size() && name[end] != '.')) {
      return NameForm::kOdd;
    }
    if (IsQuote(name[begin])) {
      form = NameForm::kQuoted;
    } else if (IsReserved(name.substr(begin, end - begin))) {
      form = NameForm::kReserved;
    }
    if (end == name.size()) {
      return form;
    }
    begin = end;
  }
}

std::string LowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), Lower);
  return name;
}

}  // namespace vorncheck
