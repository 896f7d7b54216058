// A table that is changed through the library, and what it should hold then.

#ifndef VORN_TESTS_CRASH_NOTETABLE_H
#define VORN_TESTS_CRASH_NOTETABLE_H

#include <map>
#include <optional>
#include <string>

#include "TemporaryDatabase.h"

namespace note_table {

constexpr char kTable[] = "note";
constexpr char kUid[] = "uid";
constexpr char kText[] = "text";

struct Step {
  std::string member;  // of Database: one that writes
  std::string uid;     // of the row; empty: of all rows
  std::string text;
};

// Runs one operation of the library and gives its result.
int Run(const Step& step, const TemporaryDatabase& database);

// The texts by their uid; none without a table.
using Content = std::optional<std::map<std::string, std::string>>;

// What the content is after a successful operation.
Content After(const Step& step, Content content);

// Asks the library for the content, and gives the result of its first query that fails.
Content Read(const TemporaryDatabase& database, int& result);

}  // namespace note_table

#endif  // VORN_TESTS_CRASH_NOTETABLE_H
