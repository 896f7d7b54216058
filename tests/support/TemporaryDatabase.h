// A database file in a fresh directory, and a way to ask it directly.

#ifndef VORN_TESTS_SUPPORT_TEMPORARYDATABASE_H
#define VORN_TESTS_SUPPORT_TEMPORARYDATABASE_H

#include <sqlite3.h>

#include <map>
#include <string>
#include <vector>

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

// SQLite's answer to statements of the test's own.
struct Answer {
  int code = SQLITE_OK;
  std::string message = {};  // of a failure
  // The rows: cells by column, NULL and blobs as empty texts.
  std::vector<std::string> columns = {};
  std::map<std::string, std::vector<std::string>> cells = {};
};

// The directory and the file name that a test's requests name.
class TemporaryDatabase {
 public:
  const char* Directory() const { return m_directory.Path().c_str(); }
  const char* FileName() const { return "app.db"; }
  std::string Path() const { return m_directory.Path() + "/app.db"; }

  // Gives a request this location.
  template <typename Request>
  void Locate(Request& request) const {
    request.SetPath(Directory(), FileName());
  }

  // Runs statements of the test's own; fails the test when SQLite does.
  void Run(const std::string& sql) const;

  // The rows of a query of the test's own, cells joined by "|", NULL as "NULL".
  std::vector<std::string> Rows(const std::string& sql) const;

  // Runs the first statements, or all, up to one that fails.
  Answer Ask(const std::string& sql, int statements = -1) const;

 private:
  TemporaryDirectory m_directory;
};

// A connection of the test's own. A lock that it takes is held while it lives.
class Locker {
 public:
  // `begin` is such as "BEGIN EXCLUSIVE", or several statements.
  Locker(const TemporaryDatabase& database, const std::string& begin);
  ~Locker();
  Locker(const Locker&) = delete;
  Locker& operator=(const Locker&) = delete;

  // Runs further statements, without their rows; answers SQLite's result code.
  int Run(const std::string& sql);
  std::vector<std::string> Rows(const std::string& sql) const;

 private:
  sqlite3* m_db = nullptr;
};

#endif  // VORN_TESTS_SUPPORT_TEMPORARYDATABASE_H
