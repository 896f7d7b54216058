#include "Rows.h"

#include <algorithm>
#include <set>

#include "Commands.h"
#include "Cursor.h"
#include "Errors.h"

namespace vorndb {

namespace {

std::vector<Row> SelectRows(const Arguments& arguments) {
  Cursor cursor;
  const Selected selected = *RunSelect(arguments, cursor);
  ExpectComplete(arguments.file, selected.call);
  if (!selected.result.doubts.empty()) {
    throw Failure(arguments.table + " in " + arguments.file +
                  " cannot be read as it is: " + selected.result.doubts.front());
  }
  std::vector<Row> rows;
  EachRow(selected.result, [&rows](const Row& row) { rows.push_back(row); });
  return rows;
}

// A cursor has an empty text for NULL, too, but no condition on a text is met by NULL.
void FindNulls(Arguments select, std::size_t column, const std::vector<Row>& texts,
               std::vector<Row>& rows) {
  const auto isEmpty = [column](const Row& row) { return row[column]->empty(); };
  if (std::none_of(texts.begin(), texts.end(), isEmpty)) {
    return;
  }
  const std::string& name = select.choice.columns[column];
  RequirePlainName("column", name);
  select.where.emplace_back(name + '=');
  const std::vector<Row> found = SelectRows(select);
  std::multiset<Row> empty(found.begin(), found.end());
  for (std::size_t row = 0; row < texts.size(); ++row) {
    if (const auto text = empty.find(texts[row]); text != empty.end()) {
      empty.erase(text);
    } else if (isEmpty(texts[row])) {
      rows[row][column].reset();
    }
  }
}

}  // namespace

std::vector<Row> ReadRows(const std::string& file, const std::string& table,
                          const std::vector<std::string>& columns) {
  Arguments select;
  select.file = file;
  select.table = table;
  select.choice.columns = columns;
  const std::vector<Row> texts = SelectRows(select);
  std::vector<Row> rows = texts;
  for (std::size_t column = 0; column < columns.size(); ++column) {
    FindNulls(select, column, texts, rows);
  }
  return rows;
}

}  // namespace vorndb
