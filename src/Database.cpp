#include "Database.h"

#include <sqlite3.h>

#include <utility>

#include "private/BusyRule.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "DatabaseParser.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "private/FunctionRef.h"
#include "JoinRequest.h"
#include "private/Log.h"
#include "private/ScopeExit.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

// Repeats a call into SQLite while it answers busy; once more after the limit.
template <typename Attempt>
int RetryWhileBusy(Database& database, Attempt attempt) {
  bool stop = false;
  int busyCount = 0;
  for (;;) {
    const int rc = attempt();
    if (rc != SQLITE_BUSY || stop) {
      return rc;
    }
    stop = database.IsRetryLimit(busyCount);
  }
}

int OpenRequested(Database& database, BasePath& location, sqlite3*& db) {
  std::string directory;
  std::string fileName;
  location.GetPath(directory, fileName);
  return database.OpenDB(db, std::move(directory), std::move(fileName));
}

// SQLite has no text to give when it runs out of memory.
const char* Printable(const char* text) { return text != nullptr ? text : "(null)"; }

// Writes the statement of one operation.
using Generate = vorn::FunctionRef<void(SqlGenerator&, std::string&)>;

// Consumes the rows of one query.
using Parse = vorn::FunctionRef<void(DatabaseParser&, sqlite3*, sqlite3_stmt*)>;

// What distinguishes the log lines of one write from another's.
struct WriteMessages {
  const char* success;
  const char* failure;
};

// The procedure of all members that change a database.
int Write(Database& database, const vorn::LogSite& site, BasePath& location,
          const WriteMessages& messages, Generate generate) {
  sqlite3* db = nullptr;
  char* error = nullptr;
  const int opened = OpenRequested(database, location, db);
  if (opened != SQLITE_OK) {
    return opened;
  }
  SqlGenerator generator;
  std::string sql;
  const vorn::ScopeExit close([db] { sqlite3_close(db); });
  const vorn::ScopeExit freeError([&error] { sqlite3_free(error); });

  generate(generator, sql);
  // The text of an attempt that was busy is overwritten by the next, not freed.
  const int rc = RetryWhileBusy(
      database, [&] { return sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error); });
  if (rc != SQLITE_OK) {
    vorn::PrintLog(site, vorn::kError, messages.failure, rc, Printable(error));
  } else {
    vorn::PrintLog(site, vorn::kInfo, messages.success, rc);
  }
  return rc;
}

// What distinguishes the log lines of one query from another's.
struct QueryMessages {
  const char* openFailure;  // null: the query says nothing of its own
  const char* failure;
};

// The procedure of all members that read a database. What stepping meets is not
// reported.
int Query(Database& database, const vorn::LogSite& site, BasePath& location,
          const QueryMessages& messages, Generate generate, Parse parse) {
  sqlite3* db = nullptr;
  const int opened = OpenRequested(database, location, db);
  if (opened != SQLITE_OK) {
    if (messages.openFailure != nullptr) {
      vorn::PrintLog(site, vorn::kInfo, messages.openFailure, opened);
    }
    return opened;
  }
  SqlGenerator generator;
  std::string sql;
  sqlite3_stmt* stmt = nullptr;
  const vorn::ScopeExit close([db] { sqlite3_close(db); });
  const vorn::ScopeExit finalize([&stmt] { sqlite3_finalize(stmt); });

  generate(generator, sql);
  // The legacy call, not its successors: it decides how step errors surface.
  const int rc = RetryWhileBusy(
      database, [&] { return sqlite3_prepare(db, sql.c_str(), -1, &stmt, nullptr); });
  if (rc != SQLITE_OK) {
    vorn::PrintLog(site, vorn::kError, messages.failure, rc, sqlite3_errmsg(db));
  } else {
    DatabaseParser parser;
    parse(parser, db, stmt);
  }
  return rc;
}

// The parse of the queries that fill a cursor.
auto Into(Cursor& cursor) {
  return [&cursor](DatabaseParser& parser, sqlite3* db, sqlite3_stmt* stmt) {
    parser.ParseDatabase(db, stmt, cursor);
  };
}

}  // namespace

Database::Database() { VORN_TRACE(); }

Database::~Database() { VORN_TRACE(); }

int Database::Update(UpdateRequest& request) {
  VORN_TRACE();
  return Write(
      *this, VORN_HERE, request,
      {VORN_FORMAT("update SUCCESS[%d]"), VORN_FORMAT("update FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetUpdateSql(request, sql); });
}

int Database::Delete(DeleteRequest& request) {
  VORN_TRACE();
  return Write(
      *this, VORN_HERE, request,
      {VORN_FORMAT("delete SUCCESS[%d]"), VORN_FORMAT("delete FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetDeleteSql(request, sql); });
}

int Database::Upsert(UpsertRequest& request) {
  VORN_TRACE();
  return Write(
      *this, VORN_HERE, request,
      {VORN_FORMAT("Upsert SUCCESS[%d]"), VORN_FORMAT("Upsert FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetUpsertSql(request, sql); });
}

int Database::CreateTable(CreateRequest& request) {
  VORN_TRACE();
  return Write(*this, VORN_HERE, request,
               {VORN_FORMAT("createTable SUCCESS[%d]"), VORN_FORMAT("createTable FAILED[%d]: %s")},
               [&](SqlGenerator& generator, std::string& sql) {
                 generator.GetCreateTableSql(request, sql);
               });
}

int Database::DropTable(DropRequest& request) {
  VORN_TRACE();
  return Write(
      *this, VORN_HERE, request,
      {VORN_FORMAT("DropTable SUCCESS[%d]"), VORN_FORMAT("DropTable FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetDropTableSql(request, sql); });
}

int Database::Select(SelectRequest& request, Cursor& cursor) {
  VORN_TRACE();
  return Query(
      *this, VORN_HERE, request,
      {VORN_FORMAT("OpenDB Error: %d"), VORN_FORMAT("SELECT FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetSelectSql(request, sql); },
      Into(cursor));
}

int Database::JoinSelect(JoinRequest& request, Cursor& cursor) {
  VORN_TRACE();
  return Query(
      *this, VORN_HERE, request, {nullptr, VORN_FORMAT("JoinSelect FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetJoinSql(request, sql); },
      Into(cursor));
}

int Database::CheckExistTable(BasePath& path, const char* table, bool& exists) {
  VORN_TRACE();
  return Query(
      *this, VORN_HERE, path, {nullptr, VORN_FORMAT("CheckExistTable FAILED[%d]: %s")},
      [&](SqlGenerator& generator, std::string& sql) { generator.GetCheckTableSql(table, sql); },
      [&](DatabaseParser& parser, sqlite3*, sqlite3_stmt* stmt) {
        parser.ParseExistTable(stmt, exists);
      });
}

int Database::OpenDB(sqlite3*& db, std::string dir, std::string file) {
  VORN_TRACE();
  // Informative, but at error level, so that a log that shows a failure shows
  // its file too.
  VORN_LOG(vorn::kError, "DB file: %s %s", dir.c_str(), file.c_str());

  SqlGenerator generator;
  std::string path;
  generator.GetDBPath(std::move(dir), std::move(file), path);
  const int rc = RetryWhileBusy(*this, [&] { return sqlite3_open(path.c_str(), &db); });
  if (rc != SQLITE_OK) {
    VORN_LOG(vorn::kError, "DB open failed. Error no(%d): %s", rc, sqlite3_errmsg(db));
  }
  return rc;
}

bool Database::IsRetryLimit(int& count) { return vorn::CountBusy(VORN_HERE, count); }
