#include "Names.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <set>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

// Of ASCII alone, whatever the locale.
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Words, and perhaps a length: "TEXT", "VARCHAR(20)", "REAL NOT NULL". The library writes
// a type into its statement as it is, too.
bool IsPlainType(const std::string& type) {
  static const std::regex form(
      "[A-Za-z_][A-Za-z0-9_]*( [A-Za-z0-9_]+)*( ?\\([0-9]+(, ?[0-9]+)?\\))?( [A-Za-z0-9_]+)*");
  return std::regex_match(type, form);
}

struct Parts {
  std::string left;
  std::string right;
};

// Both sides of the first separator.
Parts Split(const std::string& text, char separator, const std::string& form) {
  const std::size_t position = text.find(separator);
  if (position == std::string::npos) {
    throw UsageError("'" + text + "' is not " + form);
  }
  return {text.substr(0, position), text.substr(position + 1)};
}

}  // namespace

bool IsPlainName(const std::string& name) {
  return !name.empty() && IsLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
}

void RequirePlainName(const std::string& what, const std::string& name) {
  if (!IsPlainName(name)) {
    throw UsageError("'" + name + "' is no plain name for a " + what +
                     ": a letter or '_' first, then letters, digits and '_'");
  }
}

Assignment ParseAssignment(const std::string& text) {
  Parts parts = Split(text, '=', "COLUMN=VALUE");
  RequirePlainName("column", parts.left);
  return {std::move(parts.left), std::move(parts.right)};
}

TypedColumn ParseTypedColumn(const std::string& text) {
  Parts parts = Split(text, ':', "COLUMN:TYPE");
  RequirePlainName("column", parts.left);
  if (!IsPlainType(parts.right)) {
    throw UsageError("'" + parts.right + "' is no plain type for the column " + parts.left +
                     ": words, and perhaps a length, such as TEXT, VARCHAR(20) or REAL NOT NULL");
  }
  return {std::move(parts.left), std::move(parts.right)};
}

TableColumn ParseTableColumn(const std::string& text) {
  Parts parts = Split(text, '.', "TABLE.COLUMN");
  RequirePlainName("table", parts.left);
  RequirePlainName("column", parts.right);
  return {std::move(parts.left), std::move(parts.right)};
}

Assignment ParseJoinCondition(const std::string& text) {
  Parts parts = Split(text, '=', "COLUMN=VALUE");
  if (parts.left.find('.') != std::string::npos) {
    ParseTableColumn(parts.left);
  } else {
    RequirePlainName("column", parts.left);
  }
  return {std::move(parts.left), std::move(parts.right)};
}

void RequireDistinct(const std::vector<std::string>& columns) {
  std::set<std::string> seen;
  for (const std::string& column : columns) {
    std::string key;
    std::transform(column.begin(), column.end(), std::back_inserter(key), ToLower);
    if (!seen.insert(key).second) {
      throw UsageError("the column " + column + " is given twice");
    }
  }
}

std::string Quoted(const std::string& value) {
  std::string quoted;
  for (const char c : value) {
    quoted.append(c == '\'' ? 2 : 1, c);
  }
  return quoted;
}

NameBlock::NameBlock(const std::vector<Assignment>& assignments) {
  for (const Assignment& assignment : assignments) {
    m_starts.push_back(m_block.size());
    m_block += assignment.column;
    m_block += '\0';
  }
}

}  // namespace vorndb
