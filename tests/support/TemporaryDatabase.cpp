#include "TemporaryDatabase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

namespace {

sqlite3* Open(const std::string& path) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &db,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr));
  // What a test sets up need not survive a power failure.
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr));
  return db;
}

void AddRow(sqlite3_stmt* stmt, Answer& answer) {
  const bool isFirst = answer.columns.empty();
  for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
    const std::string name = sqlite3_column_name(stmt, column);
    const int type = sqlite3_column_type(stmt, column);
    const bool isText = type != SQLITE_NULL && type != SQLITE_BLOB;
    const auto* const text =
        isText ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, column)) : "";
    answer.cells[name].emplace_back(text);
    if (isFirst) {
      answer.columns.push_back(name);
    }
  }
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
  sqlite3* const db = Open(Path());
  std::vector<std::string> rows;
  const char* rest = sql.c_str();
  while (*rest != '\0') {
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, rest, -1, &stmt, &rest)) << sql;
    if (stmt == nullptr) {
      break;
    }
    int rc = SQLITE_OK;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
      std::string row;
      for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
        row += (column == 0 ? "" : "|") + std::string(text == nullptr ? "NULL" : text);
      }
      rows.push_back(row);
    }
    EXPECT_EQ(SQLITE_DONE, rc) << sql;
    sqlite3_finalize(stmt);
  }
  sqlite3_close_v2(db);
  return rows;
}

Answer TemporaryDatabase::Ask(const std::string& sql, int statements) const {
  Answer answer;
  sqlite3* db = nullptr;
  sqlite3_open(Path().c_str(), &db);
  const char* rest = sql.c_str();
  for (; answer.code == SQLITE_OK && *rest != '\0' && statements != 0; --statements) {
    sqlite3_stmt* stmt = nullptr;
    answer = {sqlite3_prepare_v2(db, rest, -1, &stmt, &rest)};
    while (stmt != nullptr && (answer.code = sqlite3_step(stmt)) == SQLITE_ROW) {
      AddRow(stmt, answer);
    }
    answer.code = answer.code == SQLITE_DONE ? SQLITE_OK : answer.code;
    answer.message = answer.code == SQLITE_OK ? "" : sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
  }
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

Locker::~Locker() { sqlite3_close_v2(m_db); }
