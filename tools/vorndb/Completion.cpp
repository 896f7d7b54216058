#include "Commands.h"
#include "DatabaseFile.h"

namespace vorndb {

namespace {

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
  const std::string end = name == "--where" || name == "VALUES" ? "=" : "";
  const bool isSide =
      name == "LEFT" || name == "RIGHT" || (name == "--where" && arguments.table.empty());
  const bool isColumn = isSide || !end.empty() || name == "--columns" || name == "--order";
  // "TABLE." first, and then "TABLE.COLUMN".
  const std::size_t dot = word.find('.');
  const std::string table = isSide ? word.substr(0, dot) : arguments.table;
  if (!IsThere(arguments.file)) {
    return {};
  }
  if (name == "TABLE" || name == "TABLES" || (isSide && dot == std::string::npos)) {
    return PlainOf(TablesOf(arguments.file), "", isSide ? "." : "");
  }
  if (!isColumn || !IsPlainName(table)) {
    return {};
  }
  return PlainOf(NamesIn(ColumnsOf(arguments.file, table)), isSide ? table + '.' : "", end);
}

}  // namespace vorndb
