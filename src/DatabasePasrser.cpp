#include "DatabaseParser.h"

#include <sqlite3.h>

#include "private/BusyRule.h"
#include "Cursor.h"
#include "private/Log.h"

namespace {

// Steps a statement until it is done, retrying while it is busy; `handle` gets
// every other result code and answers whether the next step is the last one.
template <typename Handle>
int StepToEnd(DatabaseParser& parser, sqlite3_stmt* stmt, Handle handle) {
  bool stop = false;
  int busyCount = 0;
  for (;;) {
    const int rc = sqlite3_step(stmt);
    if (rc == SQLITE_DONE || stop) {
      return rc;
    }
    stop = rc == SQLITE_BUSY ? parser.IsRetryLimit(busyCount) : handle(rc);
  }
}

const char* AsText(const unsigned char* text) { return reinterpret_cast<const char*>(text); }

// Appends one cell. Its text belongs to SQLite and is copied by the cursor.
void CopyCell(const vorn::LogSite& site, sqlite3_stmt* stmt, int column, Cursor& cursor) {
  const char* const name = sqlite3_column_name(stmt, column);
  switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
    case SQLITE_TEXT:
      cursor.SetData(name, AsText(sqlite3_column_text(stmt, column)));
      break;
    case SQLITE_NULL:
      cursor.SetData(name, "");
      break;
    default:
      VORN_LOG_AT(site, vorn::kError, "UNKNOWN TYPE");
      cursor.SetData(name, "");
      break;
  }
}

// Copies rows into a cursor; the first row declares the columns.
class RowCopier {
 public:
  RowCopier(const vorn::LogSite& site, sqlite3_stmt* stmt, Cursor& cursor)
      : m_site(site), m_stmt(stmt), m_cursor(cursor) {}

  void Copy() {
    if (!m_registered) {
      m_columnCount = sqlite3_column_count(m_stmt);
      for (int column = 0; column < m_columnCount; ++column) {
        m_cursor.SetColumn(sqlite3_column_name(m_stmt, column));
      }
    }
    for (int column = 0; column < m_columnCount; ++column) {
      CopyCell(m_site, m_stmt, column, m_cursor);
    }
    m_registered = true;
  }

 private:
  const vorn::LogSite m_site;
  sqlite3_stmt* const m_stmt;
  Cursor& m_cursor;
  bool m_registered = false;
  int m_columnCount = 0;
};

}  // namespace

DatabaseParser::DatabaseParser() = default;

DatabaseParser::~DatabaseParser() = default;

int DatabaseParser::ParseExistTable(sqlite3_stmt* stmt, bool& exists) {
  const vorn::LogSite site = VORN_HERE;
  bool found = false;
  const int rc = StepToEnd(*this, stmt, [&](int code) {
    if (code == SQLITE_ERROR) {
      VORN_LOG_AT(site, vorn::kError, "SQLITE STEP ERROR!!!");
      return true;
    }
    if (sqlite3_column_int(stmt, 0) > 0) {
      found = true;
    }
    return false;
  });
  exists = found;
  return rc;
}

int DatabaseParser::ParseDatabase(sqlite3* db, sqlite3_stmt* stmt, Cursor& cursor) {
  const vorn::LogSite site = VORN_HERE;
  cursor.Initialize();
  RowCopier copier(site, stmt, cursor);
  return StepToEnd(*this, stmt, [&](int code) {
    if (code == SQLITE_ERROR) {
      VORN_LOG_AT(site, vorn::kError, "SQLITE STEP ERROR!!! %s", sqlite3_errmsg(db));
      return true;
    }
    if (code == SQLITE_ROW) {
      copier.Copy();
    }
    return false;
  });
}

bool DatabaseParser::IsRetryLimit(int& count) { return vorn::CountBusy(VORN_HERE, count); }
