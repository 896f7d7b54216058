// Many writes without the wait for the disk that each of them has.

#ifndef VORNDB_NOSYNC_H
#define VORNDB_NOSYNC_H

#include <string>

namespace vorndb {

// While it lives, SQLite syncs no file in this process. A loss of power can then damage a
// database. There may be one at a time.
class NoSync {
 public:
  explicit NoSync(std::string file);
  ~NoSync();

  NoSync(const NoSync&) = delete;
  NoSync& operator=(const NoSync&) = delete;

  // Syncs the database. Throws Failure.
  void Sync() const;

 private:
  std::string m_file;
};

}  // namespace vorndb

#endif  // VORNDB_NOSYNC_H
