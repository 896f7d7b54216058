#include <SQLiteCpp/SQLiteCpp.h>

#include "contenders/Contenders.h"

namespace bench {

namespace {

// Calls what is called by hand, and after a write asks for the number of changed rows.
class SqliteCpp final : public ColumnsContender {
 public:
  void Execute(const std::string& path, const std::string& sql) final { Open(path).exec(sql); }

  void Query(const std::string& path, const std::string& sql) final {
    const SQLite::Database database = Open(path);
    SQLite::Statement query(database, sql);
    const std::vector<std::vector<std::string>*> columns = Declare(Names(query));
    while (query.executeStep()) {
      for (std::size_t column = 0; column < columns.size(); ++column) {
        columns[column]->emplace_back(query.getColumn(static_cast<int>(column)).getText());
      }
    }
  }

  int QueryNumber(const std::string& path, const std::string& sql) final {
    return Open(path).execAndGet(sql).getInt();
  }

 private:
  static SQLite::Database Open(const std::string& path) {
    return SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  }

  static std::vector<std::string> Names(const SQLite::Statement& query) {
    std::vector<std::string> names;
    for (int column = 0; column < query.getColumnCount(); ++column) {
      names.emplace_back(query.getColumnName(column));
    }
    return names;
  }
};

}  // namespace

std::unique_ptr<Contender> MakeSqliteCpp() { return std::make_unique<SqliteCpp>(); }

}  // namespace bench
