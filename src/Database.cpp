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

int OpenRequested(Database& database, BasePath& location, sqlite3*& connection) {
  std::string directory;
  std::string fileName;
  location.GetPath(directory, fileName);
  return database.OpenDB(connection, std::move(directory), std::move(fileName));
}

// The constructor opens the file of a request; the destructor closes it. The handle of a failed
// open leaks, which is documented.
struct Operation {
  Operation(Database& owner, BasePath& location)
      : database(owner),
        result(OpenRequested(owner, location, connection)),
        isOpen(result == SQLITE_OK) {}
  ~Operation() {
    if (isOpen) {
      sqlite3_close(connection);
    }
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  Database& database;
  SqlGenerator generator;
  std::string sql;
  sqlite3* connection = nullptr;
  int result;  // of the open; then of the statement
  const bool isOpen;
};

struct WriteOperation : Operation {
  using Operation::Operation;
  ~WriteOperation() {
    if (isOpen) {
      sqlite3_free(error);
    }
  }

  void Execute(const vorn::LogSite& site, Success success, Failure failure) {
    // The text of a busy attempt is overwritten by the next one, and so leaks.
    result = vorn::BusyRetry(database).Call(
        [this] { return sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, &error); });
    if (result == SQLITE_OK) {
      vorn::PrintLog(site, success, result);
    } else {
      // SQLite has no text when it runs out of memory.
      vorn::PrintLog(site, failure, result, error != nullptr ? error : "(null)");
    }
  }

  char* error = nullptr;
};

struct QueryOperation : Operation {
  using Operation::Operation;
  ~QueryOperation() {
    if (isOpen) {
      sqlite3_finalize(statement);
    }
  }

  // Whether the statement can be stepped.
  bool Prepare(const vorn::LogSite& site, Failure failure) {
    // The legacy call, not its successors: it decides how step errors surface.
    result = vorn::BusyRetry(database).Call(
        [this] { return sqlite3_prepare(connection, sql.c_str(), -1, &statement, nullptr); });
    if (result != SQLITE_OK) {
      vorn::PrintLog(site, failure, result, sqlite3_errmsg(connection));
    }
    return result == SQLITE_OK;
  }

  DatabaseParser parser;
  sqlite3_stmt* statement = nullptr;
};

}  // namespace

Database::Database() { VORN_TRACE(); }

Database::~Database() { VORN_TRACE(); }

int Database::Update(UpdateRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetUpdateSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::UpdateSucceeded(), vorn::log::UpdateFailed());
  }
  return operation.result;
}

int Database::Delete(DeleteRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetDeleteSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::DeleteSucceeded(), vorn::log::DeleteFailed());
  }
  return operation.result;
}

int Database::Upsert(UpsertRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetUpsertSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::UpsertSucceeded(), vorn::log::UpsertFailed());
  }
  return operation.result;
}

int Database::CreateTable(CreateRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetCreateTableSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::CreateTableSucceeded(), vorn::log::CreateTableFailed());
  }
  return operation.result;
}

int Database::DropTable(DropRequest& request) {
  VORN_TRACE();
  WriteOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetDropTableSql(request, operation.sql);
    operation.Execute(VORN_HERE, vorn::log::DropTableSucceeded(), vorn::log::DropTableFailed());
  }
  return operation.result;
}

int Database::Select(SelectRequest& request, Cursor& cursor) {
  VORN_TRACE();
  QueryOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetSelectSql(request, operation.sql);
    if (operation.Prepare(VORN_HERE, vorn::log::SelectFailed())) {
      operation.parser.ParseDatabase(operation.connection, operation.statement, cursor);
    }
  } else {
    VORN_LOG(vorn::log::SelectNotOpened(), operation.result);
  }
  return operation.result;
}

int Database::JoinSelect(JoinRequest& request, Cursor& cursor) {
  VORN_TRACE();
  QueryOperation operation(*this, request);
  if (operation.isOpen) {
    operation.generator.GetJoinSql(request, operation.sql);
    if (operation.Prepare(VORN_HERE, vorn::log::JoinSelectFailed())) {
      operation.parser.ParseDatabase(operation.connection, operation.statement, cursor);
    }
  }
  return operation.result;
}

int Database::CheckExistTable(BasePath& path, const char* table, bool& exists) {
  VORN_TRACE();
  QueryOperation operation(*this, path);
  if (operation.isOpen) {
    operation.generator.GetCheckTableSql(table, operation.sql);
    if (operation.Prepare(VORN_HERE, vorn::log::CheckExistTableFailed())) {
      operation.parser.ParseExistTable(operation.statement, exists);
    }
  }
  return operation.result;
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
