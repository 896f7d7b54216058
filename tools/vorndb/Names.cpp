#include "Names.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

// Of ASCII alone, whatever the locale.
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsWordLetter(char c) { return IsLetter(c) || IsDigit(c); }

// Words with a blank between each two.
bool AreWords(std::string_view text) {
  return !text.empty() && text.front() != ' ' && text.back() != ' ' &&
         text.find("  ") == std::string_view::npos &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsWordLetter(c) || c == ' '; });
}

bool IsNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// "20", "10,2" or "10, 2".
bool IsLength(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) {
    return IsNumber(text);
  }
  const std::size_t second = text.substr(comma + 1, 1) == " " ? comma + 2 : comma + 1;
  return IsNumber(text.substr(0, comma)) && IsNumber(text.substr(second));
}

// Words, perhaps with a length behind one: "TEXT", "VARCHAR(20)", "REAL NOT NULL". The
// library writes a type into its statement as it is, too.
bool IsPlainType(std::string_view type) {
  const std::size_t open = type.find('(');
  if (type.empty() || !IsLetter(type.front())) {
    return false;
  }
  if (open == std::string_view::npos) {
    return AreWords(type);
  }
  const std::size_t close = type.find(')', open);
  if (close == std::string_view::npos || !IsLength(type.substr(open + 1, close - open - 1))) {
    return false;
  }
  const std::string_view before = type.substr(0, open);
  const std::string_view after = type.substr(close + 1);
  return AreWords(before) && (after.empty() || (after.front() == ' ' && AreWords(after.substr(1))));
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
         std::all_of(name.begin(), name.end(), IsWordLetter);
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
