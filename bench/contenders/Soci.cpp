#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include "contenders/Contenders.h"

namespace bench {

namespace {

// A value of its column's type as a text.
std::string Text(const soci::row& row, std::size_t column) {
  switch (row.get_properties(column).get_data_type()) {
    case soci::dt_integer:
      return std::to_string(row.get<int>(column));
    case soci::dt_long_long:
      return std::to_string(row.get<long long>(column));
    default:
      return row.get<std::string>(column);
  }
}

std::vector<std::string> Names(const soci::row& row) {
  std::vector<std::string> names;
  for (std::size_t column = 0; column < row.size(); ++column) {
    names.push_back(row.get_properties(column).get_name());
  }
  return names;
}

// Opening also sets how long a busy file is waited for, to nothing; a query also asks for
// the declared type of each column and the type of each cell.
class Soci final : public ColumnsContender {
 public:
  void Execute(const std::string& path, const std::string& sql) final {
    soci::session session(soci::sqlite3, path);
    session << sql;
  }

  void Query(const std::string& path, const std::string& sql) final {
    Release();
    soci::session session(soci::sqlite3, path);
    const soci::rowset<soci::row> rows = (session.prepare << sql);
    std::vector<std::vector<std::string>*> columns;
    for (const soci::row& row : rows) {
      if (columns.empty()) {
        columns = Declare(Names(row));
      }
      for (std::size_t column = 0; column < columns.size(); ++column) {
        columns[column]->push_back(Text(row, column));
      }
    }
  }

  int QueryNumber(const std::string& path, const std::string& sql) final {
    soci::session session(soci::sqlite3, path);
    int number = 0;
    session << sql, soci::into(number);
    return number;
  }
};

}  // namespace

std::unique_ptr<Contender> MakeSoci() { return std::make_unique<Soci>(); }

}  // namespace bench
