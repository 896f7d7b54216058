// The file that is worked on, and what is said when an operation on it fails.

#ifndef VORNDB_DATABASEFILE_H
#define VORNDB_DATABASEFILE_H

#include <string>
#include <vector>

#include "log/LogSink.h"

class BasePath;

namespace vorndb {

// What an operation of the library has returned, and what it has logged meanwhile.
struct CallResult {
  int result = 0;
  std::vector<LoggedLine> log;
};

template <typename Operation>
CallResult Observe(Operation operation) {
  TakeLog();
  const int result = operation();
  return {result, TakeLog()};
}

class DatabaseFile {
 public:
  // Throws UsageError for an empty path.
  explicit DatabaseFile(const std::string& path);

  // Sets the location of a request.
  void Locate(BasePath& request) const;

  bool IsThere() const;

  // Throws Failure when there is no such file. SQLite would make an empty one.
  void RequireExisting() const;

  // Whether there is a table of that name; throws Failure when that cannot be told.
  bool HasTable(const std::string& table) const;

  // Whether there is no such table; false when that cannot be told.
  bool IsMissing(const std::string& table) const;

  // Throws Failure, in plain words, for any other result than 0 of an operation on these
  // tables.
  void ExpectSuccess(const CallResult& call, const std::vector<std::string>& tables) const;

  // Throws Failure for a query that came to its end too early. Its result is 0 all the same.
  void ExpectComplete(const CallResult& call) const;

  const std::string& Path() const { return m_path; }

 private:
  CallResult LookFor(const std::string& table, bool& exists) const;
  std::string Explain(int result, const std::vector<std::string>& tables,
                      const std::string& message) const;

  std::string m_path;
  std::string m_directory;
  std::string m_name;
};

}  // namespace vorndb

#endif  // VORNDB_DATABASEFILE_H
