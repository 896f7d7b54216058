#include "Database.h"

#include <sqlite3.h>

#include <utility>

#include "CreateRequest.h"
#include "Cursor.h"
#include "DatabaseParser.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"
#include "private/BusyRetry.h"
#include "private/Log.h"

namespace {

using Success = vorn::LogMessage<vorn::kInfo, int>;
using Failure = vorn::LogMessage<vorn::kError, int, const char*>;

// One operation: it opens its file when it is made and closes it when it goes. The handle of a
// failed open is leaked, as documented.
class Operation {
 public:
  Operation(Database& database, BasePath& location) : m_database(database) {
    std::string directory;
    std::string fileName;
    location.GetPath(directory, fileName);
    m_result = database.OpenDB(m_connection, std::move(directory), std::move(fileName));
    m_isOpen = m_result == SQLITE_OK;
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  bool IsOpen() const { return m_isOpen; }
  // Of the open; then of the statement.
  int Result() const { return m_result; }
  sqlite3* Connection() const { return m_connection; }

  SqlGenerator generator;
  std::string sql;

 protected:
  ~Operation() {
    if (m_isOpen) {
      sqlite3_close(m_connection);
    }
  }

  Database& m_database;
  sqlite3* m_connection = nullptr;
  int m_result = SQLITE_OK;
  bool m_isOpen = false;
};

class WriteOperation : public Operation {
 public:
  using Operation::Operation;
  ~WriteOperation() {
    if (m_isOpen) {
      sqlite3_free(m_error);
    }
  }

  void Execute(const vorn::LogSite& site, Success success, Failure failure) {
    // The text of a busy attempt is overwritten by the next one, and so leaks.
    m_result = vorn::BusyRetry(m_database).Call([this] {
      return sqlite3_exec(m_connection, sql.c_str(), nullptr, nullptr, &m_error);
    });
    if (m_result == SQLITE_OK) {
      vorn::PrintLog(site, success, m_result);
    } else {
      // SQLite has no text when it runs out of memory.
      vorn::PrintLog(site, failure, m_result, m_error != nullptr ? m_error : "(null)");
    }
  }

 private:
  char* m_error = nullptr;
};

class QueryOperation : public Operation {
 public:
  using Operation::Operation;
  ~QueryOperation() {
    if (m_isOpen) {
      sqlite3_finalize(m_statement);
    }
  }

  // Whether the statement can be stepped.
  bool Prepare(const vorn::LogSite& site, Failure failure) {
    // The legacy call, not its successors: it decides how step errors surface.
    m_result = vorn::BusyRetry(m_database).Call([this] {
      return sqlite3_prepare(m_connection, sql.c_str(), -1, &m_statement, nullptr);
    });
    if (m_result != SQLITE_OK) {
      vorn::PrintLog(site, failure, m_result, sqlite3_errmsg(m_connection));
    }
    return m_result == SQLITE_OK;
  }
  sqlite3_stmt* Statement() const { return m_statement; }

  DatabaseParser parser;

 private:
  sqlite3_stmt* m_statement = nullptr;
};

}  // namespace

Database::Database() { VORN_TRACE(); }

Database::~Database() { VORN_TRACE(); }

int Database::Update(UpdateRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetUpdateSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::UpdateSucceeded(), vorn::log::UpdateFailed());
  }
  return operation.Result();
}

int Database::Delete(DeleteRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetDeleteSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::DeleteSucceeded(), vorn::log::DeleteFailed());
  }
  return operation.Result();
}

int Database::Upsert(UpsertRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetUpsertSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::UpsertSucceeded(), vorn::log::UpsertFailed());
  }
  return operation.Result();
}

int Database::CreateTable(CreateRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetCreateTableSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::CreateTableSucceeded(), vorn::log::CreateTableFailed());
  }
  return operation.Result();
}

int Database::DropTable(DropRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetDropTableSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::DropTableSucceeded(), vorn::log::DropTableFailed());
  }
  return operation.Result();
}

int Database::Select(SelectRequest& request, Cursor& cursor) {
  VORN_TRACE();
  const vorn::LogSite& site = VORN_HERE;
  QueryOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetSelectSql(request, operation.sql);
    if (operation.Prepare(site, vorn::log::SelectFailed())) {
      operation.parser.ParseDatabase(operation.Connection(), operation.Statement(), cursor);
    }
  } else {
    vorn::PrintLog(site, vorn::log::SelectNotOpened(), operation.Result());
  }
  return operation.Result();
}

int Database::JoinSelect(JoinRequest& request, Cursor& cursor) {
  VORN_TRACE();
  QueryOperation operation(*this, request);
  if (operation.IsOpen()) {
    operation.generator.GetJoinSql(request, operation.sql);
    if (operation.Prepare(VORN_HERE, vorn::log::JoinSelectFailed())) {
      operation.parser.ParseDatabase(operation.Connection(), operation.Statement(), cursor);
    }
  }
  return operation.Result();
}

int Database::CheckExistTable(BasePath& path, const char* table, bool& exists) {
  VORN_TRACE();
  QueryOperation operation(*this, path);
  if (operation.IsOpen()) {
    operation.generator.GetCheckTableSql(table, operation.sql);
    if (operation.Prepare(VORN_HERE, vorn::log::CheckExistTableFailed())) {
      operation.parser.ParseExistTable(operation.Statement(), exists);
    }
  }
  return operation.Result();
}

int Database::OpenDB(sqlite3*& db, std::string dir, std::string file) {
  VORN_TRACE();
  VORN_LOG(vorn::log::Opening(), dir.c_str(), file.c_str());

  SqlGenerator generator;
  std::string path;
  generator.GetDBPath(std::move(dir), std::move(file), path);
  const int rc = vorn::BusyRetry(*this).Call([&] { return sqlite3_open(path.c_str(), &db); });
  if (rc != SQLITE_OK) {
    VORN_LOG(vorn::log::OpenFailed(), rc, sqlite3_errmsg(db));
  }
  return rc;
}

bool Database::IsRetryLimit(int& count) { return vorn::CountBusyAndWait(VORN_HERE, count); }
