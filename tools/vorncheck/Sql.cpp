#include "Sql.h"

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <mutex>

#include "Next.h"

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

// The end of the part of a name that begins at a position, or npos if it is neither plain nor
// properly quoted.
std::size_t EndOfPart(const std::string& name, std::size_t begin) {
  if (name[begin] == '"') {
    for (std::size_t at = begin + 1; at < name.size(); ++at) {
      if (name[at] == '"' && name[++at] != '"') {
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

// Some keywords are names, too; which ones depends on SQLite's version.
bool IsRefused(const std::string& keyword) {
  const std::string sql = "SELECT 1 FROM (SELECT 1 AS " + keyword + ") WHERE " + keyword + "='1'";
  sqlite3* database = nullptr;
  sqlite3_stmt* statement = nullptr;
  const bool isRefused =
      VORN_NEXT(sqlite3_open)(":memory:", &database) == SQLITE_OK &&
      VORN_NEXT(sqlite3_prepare)(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_ERROR;
  VORN_NEXT(sqlite3_finalize)(statement);
  VORN_NEXT(sqlite3_close)(database);
  return isRefused;
}

bool IsReserved(const std::string& mixed) {
  const std::string name = LowerCase(mixed);
  // Older versions do not have it.
  static const auto isKeyword =
      reinterpret_cast<decltype(&sqlite3_keyword_check)>(FindNextIfAny("sqlite3_keyword_check"));
  if (isKeyword == nullptr || isKeyword(name.data(), static_cast<int>(name.size())) == 0) {
    return false;
  }
  static std::mutex mutex;
  static std::map<std::string, bool> known;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto [entry, isNew] = known.try_emplace(name);
  if (isNew) {
    entry->second = IsRefused(name);
  }
  return entry->second;
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

NameForm FormOf(const std::string& name) {
  NameForm form = NameForm::kPlain;
  for (std::size_t begin = 0;; ++begin) {
    const std::size_t end = EndOfPart(name, begin);
    if (end == std::string::npos) {
      return NameForm::kOdd;
    }
    if (name[begin] == '"') {
      form = NameForm::kQuoted;
    } else if (IsReserved(name.substr(begin, end - begin))) {
      return NameForm::kReserved;
    }
    if (end == name.size()) {
      return form;
    }
    if (name[end] != '.') {
      return NameForm::kOdd;
    }
    begin = end;
  }
}

std::string LowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), Lower);
  return name;
}

}  // namespace vorncheck
