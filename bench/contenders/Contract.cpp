#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "contenders/Contenders.h"
#include "contenders/Raw.h"

namespace bench {

namespace {

// By hand, what the library's contract asks for at every cell of a query: SQLite's
// name and type of it, the freshly formatted name of a lock, a copy of the column's
// name and a search for the column. Only the lock itself and the log are missing.
class Contract final : public RawContender {
 public:
  void Query(const std::string& path, const std::string& sql) final {
    Release();
    const RawConnection connection(path);
    const RawStatement statement(connection, sql);
    int count = 0;
    while (statement.Step()) {
      if (count == 0) {
        count = sqlite3_column_count(statement.Handle());
        for (int column = 0; column < count; ++column) {
          Declare(sqlite3_column_name(statement.Handle(), column));
        }
      }
      for (int column = 0; column < count; ++column) {
        const char* const name = sqlite3_column_name(statement.Handle(), column);
        const bool isText = sqlite3_column_type(statement.Handle(), column) <= SQLITE_TEXT;
        Append(name, isText ? statement.Text(column) : "");
      }
    }
  }

 private:
  void FormatName() {
    if (std::snprintf(m_name, sizeof m_name, "%" PRIxPTR,
                      reinterpret_cast<std::uintptr_t>(&Cells())) < 1) {
      std::abort();
    }
  }

  void Declare(const char* name) {
    FormatName();
    Cells().try_emplace(name);
  }

  void Append(const char* name, const char* text) {
    FormatName();
    const std::string column(name);
    Cells().find(column)->second.emplace_back(text);
  }

  char m_name[100] = "";
};

}  // namespace

std::unique_ptr<Contender> MakeContract() { return std::make_unique<Contract>(); }

}  // namespace bench
