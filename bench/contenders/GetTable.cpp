#include <sqlite3.h>

#include <stdexcept>

#include "contenders/Contenders.h"
#include "contenders/Raw.h"

namespace bench {

namespace {

// Queries go through SQLite's convenience function, whose result stays as it is; all
// else is the same by hand.
class GetTable final : public SqlContender {
 public:
  ~GetTable() final { sqlite3_free_table(m_cells); }

  void Execute(const std::string& path, const std::string& sql) final {
    RawConnection(path).Execute(sql);
  }

  void Query(const std::string& path, const std::string& sql) final {
    Release();
    const RawConnection connection(path);
    char* error = nullptr;
    if (sqlite3_get_table(connection.Handle(), sql.c_str(), &m_cells, &m_rows, &m_columns,
                          &error) != SQLITE_OK) {
      const std::string text = error != nullptr ? error : "out of memory";
      sqlite3_free(error);
      throw std::runtime_error("sqlite3_get_table: " + text);
    }
  }

  int QueryNumber(const std::string& path, const std::string& sql) final {
    Query(path, sql);
    const int number = m_rows > 0 ? std::stoi(Cell(0, 0)) : 0;
    Release();
    return number;
  }

  void Release() final {
    sqlite3_free_table(m_cells);
    m_cells = nullptr;
    m_rows = 0;
    m_columns = 0;
  }

  Columns Result() final {
    Columns result;
    for (int column = 0; column < m_columns; ++column) {
      std::vector<std::string>& cells = result[m_cells[column]];
      for (int row = 0; row < m_rows; ++row) {
        cells.push_back(Cell(row, column));
      }
    }
    return result;
  }

 private:
  // The names come before the first row.
  std::string Cell(int row, int column) const {
    const char* const text = m_cells[(row + 1) * m_columns + column];
    return text != nullptr ? text : "";
  }

  char** m_cells = nullptr;
  int m_rows = 0;
  int m_columns = 0;
};

}  // namespace

std::unique_ptr<Contender> MakeGetTable() { return std::make_unique<GetTable>(); }

}  // namespace bench
