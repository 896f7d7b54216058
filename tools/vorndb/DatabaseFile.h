// The file that is worked on, and the explanation of an operation that fails on it.

#ifndef VORNDB_DATABASEFILE_H
#define VORNDB_DATABASEFILE_H

#include <string>
#include <vector>

#include "log/LogSink.h"

class BasePath;

namespace vorndb {

// The result of a call of the library, and its log records.
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
  // Throws UsageError for a path without a file name.
  explicit DatabaseFile(const std::string& path);

  // Sets the location of a request.
  void Locate(BasePath& request) const;

  bool IsThere() const;

  // Throws Failure when there is no such file. SQLite would make an empty one.
  void RequireExisting() const;

  // Whether there is a table of that name; throws Failure when that is unknown.
  bool HasTable(const std::string& table) const;

  // Whether there is no such table; false when that is unknown.
  bool LacksTable(const std::string& table) const;

  // Throws Failure, in plain words, unless the result of a call on these tables is 0.
  void ExpectSuccess(const CallResult& call, const std::vector<std::string>& tables) const;

  // Throws Failure for a query whose rows are incomplete. Its result is 0 all the same.
  void ExpectComplete(const CallResult& call) const;

 private:
  std::string Explain(int result, const std::vector<std::string>& tables,
                      const std::string& message) const;

  std::string m_path;
  std::string m_directory;
  std::string m_name;
};

}  // namespace vorndb

#endif  // VORNDB_DATABASEFILE_H
