#include "DatabaseParser.h"

#include <sqlite3.h>

#include "Cursor.h"
#include "private/BusyRetry.h"
#include "private/Log.h"

namespace {

// The steps of one statement: Next() is true while there is a result to look at. A busy step is
// retried; the step after the limit, or after MakeNextLast(), is the last, with any result.
class Steps {
 public:
  Steps(DatabaseParser& parser, sqlite3_stmt* stmt) : m_retry(parser), m_stmt(stmt) {}

  bool Next() {
    m_result = m_retry.Call([this] { return sqlite3_step(m_stmt); });
    return m_result != SQLITE_DONE && !m_retry.IsLast();
  }
  void MakeNextLast() { m_retry.MakeNextLast(); }
  int Result() const { return m_result; }

 private:
  vorn::BusyRetry<DatabaseParser> m_retry;
  sqlite3_stmt* const m_stmt;
  int m_result = SQLITE_OK;
};

int DeclareColumns(sqlite3_stmt* stmt, Cursor& cursor) {
  const int count = sqlite3_column_count(stmt);
  for (int column = 0; column < count; ++column) {
    cursor.SetColumn(sqlite3_column_name(stmt, column));
  }
  return count;
}

// Appends one cell. Its text belongs to SQLite and is copied by the cursor.
void AppendCell(const vorn::LogSite& site, sqlite3_stmt* stmt, int column, Cursor& cursor) {
  const char* const name = sqlite3_column_name(stmt, column);
  const char* text = "";
  switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
    case SQLITE_TEXT:
      text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
      break;
    case SQLITE_NULL:
      break;
    default:
      vorn::PrintLog(site, vorn::log::UnknownType());
      break;
  }
  cursor.SetData(name, text);
}

}  // namespace

DatabaseParser::DatabaseParser() = default;

DatabaseParser::~DatabaseParser() = default;

int DatabaseParser::ParseExistTable(sqlite3_stmt* stmt, bool& exists) {
  bool found = false;
  Steps steps(*this, stmt);
  while (steps.Next()) {
    if (steps.Result() == SQLITE_ERROR) {
      VORN_LOG(vorn::log::ExistStepFailed());
      steps.MakeNextLast();
    } else if (sqlite3_column_int(stmt, 0) > 0) {
      found = true;
    }
  }
  exists = found;
  return steps.Result();
}

int DatabaseParser::ParseDatabase(sqlite3* db, sqlite3_stmt* stmt, Cursor& cursor) {
  cursor.Initialize();
  bool areColumnsDeclared = false;
  int columnCount = 0;
  Steps steps(*this, stmt);
  while (steps.Next()) {
    if (steps.Result() == SQLITE_ERROR) {
      VORN_LOG(vorn::log::StepFailed(), sqlite3_errmsg(db));
      steps.MakeNextLast();
    } else if (steps.Result() == SQLITE_ROW) {
      if (!areColumnsDeclared) {
        columnCount = DeclareColumns(stmt, cursor);
        areColumnsDeclared = true;
      }
      for (int column = 0; column < columnCount; ++column) {
        AppendCell(VORN_HERE, stmt, column, cursor);
      }
    }
  }
  return steps.Result();
}

bool DatabaseParser::IsRetryLimit(int& count) { return vorn::CountBusyAndWait(VORN_HERE, count); }
