#include "contenders/Raw.h"

#include <stdexcept>

#include "contenders/Contenders.h"

namespace bench {

namespace {

void Expect(sqlite3* connection, int expected, int code) {
  if (code != expected) {
    throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(connection));
  }
}

class Raw final : public RawContender {
 public:
  void Query(const std::string& path, const std::string& sql) final {
    Release();
    const RawConnection connection(path);
    const RawStatement statement(connection, sql);
    std::vector<std::vector<std::string>*> columns;
    while (statement.Step()) {
      if (columns.empty()) {
        columns = Declare(Names(statement.Handle()));
      }
      for (std::size_t column = 0; column < columns.size(); ++column) {
        columns[column]->emplace_back(statement.Text(static_cast<int>(column)));
      }
    }
  }

 private:
  static std::vector<std::string> Names(sqlite3_stmt* statement) {
    std::vector<std::string> names;
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
      names.emplace_back(sqlite3_column_name(statement, column));
    }
    return names;
  }
};

}  // namespace

RawConnection::RawConnection(const std::string& path) {
  Expect(m_handle, SQLITE_OK, sqlite3_open(path.c_str(), &m_handle));
}

void RawConnection::Execute(const std::string& sql) const {
  Expect(m_handle, SQLITE_OK, sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr));
}

RawStatement::RawStatement(const RawConnection& connection, const std::string& sql)
    : m_connection(connection) {
  Expect(connection.Handle(), SQLITE_OK,
         sqlite3_prepare(connection.Handle(), sql.c_str(), -1, &m_handle, nullptr));
}

bool RawStatement::Step() const {
  const int code = sqlite3_step(m_handle);
  if (code == SQLITE_DONE) {
    return false;
  }
  Expect(m_connection.Handle(), SQLITE_ROW, code);
  return true;
}

const char* RawStatement::Text(int column) const {
  const unsigned char* const text = sqlite3_column_text(m_handle, column);
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

void RawContender::Execute(const std::string& path, const std::string& sql) {
  RawConnection(path).Execute(sql);
}

int RawContender::QueryNumber(const std::string& path, const std::string& sql) {
  const RawConnection connection(path);
  const RawStatement statement(connection, sql);
  return statement.Step() ? sqlite3_column_int(statement.Handle(), 0) : 0;
}

std::unique_ptr<Contender> MakeRaw() { return std::make_unique<Raw>(); }

}  // namespace bench
