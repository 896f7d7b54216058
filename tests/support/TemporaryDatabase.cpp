#include "TemporaryDatabase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <functional>

namespace {

sqlite3* Open(const std::string& path) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &db,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr));
  // What a test sets up need not survive a power failure.
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr));
  return db;
}

// Runs a text's first statements, or all, up to one that fails. Gives SQLite's result.
int Step(sqlite3* db, const char* sql, int statements,
         const std::function<void(sqlite3_stmt*)>& visitRow) {
  int rc = SQLITE_OK;
  for (; rc == SQLITE_OK && *sql != '\0' && statements != 0; --statements) {
    sqlite3_stmt* stmt = nullptr;
    rc = sqlite3_prepare_v2(db, sql, -1, &stmt, &sql);
    while (stmt != nullptr && (rc = sqlite3_step(stmt)) == SQLITE_ROW) {
      visitRow(stmt);
    }
    rc = rc == SQLITE_DONE ? SQLITE_OK : rc;
    sqlite3_finalize(stmt);
  }
  return rc;
}

const char* TextAt(sqlite3_stmt* stmt, int column) {
  return reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vorn-test-XXXXXX").string();
  const char* const path = mkdtemp(pattern.data());
  if (path == nullptr) {
    throw std::filesystem::filesystem_error("mkdtemp", pattern,
                                            std::error_code(errno, std::generic_category()));
  }
  m_path = path;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

void TemporaryDatabase::Run(const std::string& sql) const { Rows(sql); }

std::vector<std::string> TemporaryDatabase::Rows(const std::string& sql) const {
  return Locker(*this, "").Rows(sql);
}

Answer TemporaryDatabase::Ask(const std::string& sql, int statements) const {
  Answer answer;
  sqlite3* db = nullptr;
  sqlite3_open(Path().c_str(), &db);
  answer.code = Step(db, sql.c_str(), statements, [&answer](sqlite3_stmt* stmt) {
    const bool isFirst = answer.columns.empty();
    for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
      const std::string name = sqlite3_column_name(stmt, column);
      const int type = sqlite3_column_type(stmt, column);
      const bool isText = type != SQLITE_NULL && type != SQLITE_BLOB;
      answer.cells[name].emplace_back(isText ? TextAt(stmt, column) : "");
      if (isFirst) {
        answer.columns.push_back(name);
      }
    }
  });
  answer.message = answer.code == SQLITE_OK ? "" : sqlite3_errmsg(db);
  sqlite3_close(db);
  return answer;
}

Locker::Locker(const TemporaryDatabase& database, const std::string& begin)
    : m_db(Open(database.Path())) {
  EXPECT_EQ(SQLITE_OK, Run(begin));
}

int Locker::Run(const std::string& sql) {
  return sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr);
}

std::vector<std::string> Locker::Rows(const std::string& sql) const {
  std::vector<std::string> rows;
  const auto addRow = [&rows](sqlite3_stmt* stmt) {
    std::string row;
    for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
      const char* const text = TextAt(stmt, column);
      row += (column == 0 ? "" : "|") + std::string(text == nullptr ? "NULL" : text);
    }
    rows.push_back(row);
  };
  EXPECT_EQ(SQLITE_OK, Step(m_db, sql.c_str(), -1, addRow)) << sql;
  return rows;
}

Locker::~Locker() { sqlite3_close_v2(m_db); }
