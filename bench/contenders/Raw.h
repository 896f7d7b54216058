// SQLite's functions, called by hand.

#ifndef VORNDATABASE_BENCH_CONTENDERS_RAW_H
#define VORNDATABASE_BENCH_CONTENDERS_RAW_H

#include <sqlite3.h>

#include <string>

#include "Contender.h"

namespace bench {

// An open connection. Failures are thrown.
class RawConnection {
 public:
  explicit RawConnection(const std::string& path);
  ~RawConnection() { sqlite3_close(m_handle); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  sqlite3* Handle() const { return m_handle; }
  void Execute(const std::string& sql) const;

 private:
  sqlite3* m_handle = nullptr;
};

// A prepared statement.
class RawStatement {
 public:
  RawStatement(const RawConnection& connection, const std::string& sql);
  ~RawStatement() { sqlite3_finalize(m_handle); }
  RawStatement(const RawStatement&) = delete;
  RawStatement& operator=(const RawStatement&) = delete;

  sqlite3_stmt* Handle() const { return m_handle; }
  // False at the end.
  bool Step() const;
  const char* Text(int column) const;

 private:
  const RawConnection& m_connection;
  sqlite3_stmt* m_handle = nullptr;
};

// What is the same for all that call them for queries in their own way.
class RawContender : public ColumnsContender {
 public:
  void Execute(const std::string& path, const std::string& sql) final;
  int QueryNumber(const std::string& path, const std::string& sql) final;
};

}  // namespace bench

#endif  // VORNDATABASE_BENCH_CONTENDERS_RAW_H
