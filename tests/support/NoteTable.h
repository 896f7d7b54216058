// A table that is changed through the library, and its expected content.

#ifndef VORN_TESTS_SUPPORT_NOTETABLE_H
#define VORN_TESTS_SUPPORT_NOTETABLE_H

#include <map>
#include <optional>
#include <string>

#include "Cursor.h"
#include "Database.h"
#include "TemporaryDatabase.h"

namespace note_table {

constexpr char kTable[] = "note";
constexpr char kUid[] = "uid";
constexpr char kText[] = "text";

struct Step {
  std::string member;     // of Database: one that writes
  std::string uid = {};   // of the row; empty: of all rows
  std::string text = {};  // to write
};

// Runs one operation of the library and gives its result.
int Run(const Step& step, const TemporaryDatabase& file, Database& database);

// The texts by their uid.
using Rows = std::map<std::string, std::string>;
// None without a table.
using Content = std::optional<Rows>;

// The content after a successful operation.
Content After(const Step& step, const Content& content);

// Asks the library for the content, and gives the result of its first query that fails.
Content Read(const TemporaryDatabase& file, int& result);

// The rows of a select from the table.
Rows RowsOf(Cursor& cursor);

// A text that begins with the version. It takes several pages, so that a row cannot be written
// at one go.
std::string TextOf(int version, std::size_t size = 9000);

}  // namespace note_table

#endif  // VORN_TESTS_SUPPORT_NOTETABLE_H
