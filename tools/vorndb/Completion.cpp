#include <tuple>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Names.h"

namespace vorndb {

namespace {

Texts TablesIn(const std::string& file) { return IsThere(file) ? TablesOf(file) : Texts(); }

Texts ColumnsIn(const std::string& file, const std::string& table) {
  return IsPlainName(table) && IsThere(file) ? NamesIn(ColumnsOf(file, table)) : Texts();
}

Texts PlainOf(const Texts& names, const std::string& begin, const std::string& end) {
  Texts plain;
  for (const std::string& name : names) {
    if (IsPlainName(name)) {
      plain.emplace_back(begin).append(name).append(end);
    }
  }
  return plain;
}

}  // namespace

Texts Candidates(const std::string& name, const Arguments& arguments, const std::string& word) {
  const auto& [file, table] = std::tie(arguments.file, arguments.table);
  const std::string end = name == "--where" || name == "VALUES" ? "=" : "";
  if (name == "TABLE" || name == "TABLES") {
    return PlainOf(TablesIn(arguments.from.empty() ? file : arguments.from), "", "");
  }
  if (name == "LEFT" || name == "RIGHT" || (name == "--where" && table.empty())) {
    // "TABLE." first, and then "TABLE.COLUMN".
    const std::size_t dot = word.find('.');
    const std::string left = word.substr(0, dot);
    return dot == std::string::npos ? PlainOf(TablesIn(file), "", ".")
                                    : PlainOf(ColumnsIn(file, left), left + '.', end);
  }
  const bool isColumn = !end.empty() || name == "--columns" || name == "--order";
  return isColumn ? PlainOf(ColumnsIn(file, table), "", end) : Texts();
}

}  // namespace vorndb
