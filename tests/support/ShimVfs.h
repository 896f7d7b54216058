// A VFS in front of the file system. A test sees every call and can replace its result.

#ifndef VORN_TESTS_SUPPORT_SHIMVFS_H
#define VORN_TESTS_SUPPORT_SHIMVFS_H

#include <sqlite3.h>

#include <functional>
#include <string>

enum class FileCall {
  kOpen,
  kClose,
  kRead,
  kWrite,
  kTruncate,
  kSync,
  kFileSize,
  kLock,
  kUnlock,
  kCheckReservedLock,
  kDelete,
  kAccess,
};

// One call, as SQLite makes it.
struct FileEvent {
  FileCall call;
  std::string path = {};       // empty: a temporary file without a name
  sqlite3_int64 offset = 0;    // of a read or write; the size to truncate to
  int amount = 0;              // of bytes to read or write
  const void* data = nullptr;  // to be written
  int flags = 0;               // of an open or a sync; the kind of lock; a delete's syncDir
};

// While it lives, it is SQLite's default VFS, in front of the one that was; what was
// opened through it has to be closed before it ends.
class ShimVfs {
 public:
  // Answers before the real call is made: SQLITE_OK lets it be made, another code is
  // the result in its place. A negative code lets it be made, and is the result
  // (without its sign) all the same. An open that fails is never made, a close always.
  using Answer = std::function<int(const FileEvent& event)>;
  explicit ShimVfs(Answer answer);
  ~ShimVfs();
  ShimVfs(const ShimVfs&) = delete;
  ShimVfs& operator=(const ShimVfs&) = delete;

  // For the functions that SQLite calls.
  sqlite3_vfs* Real() const { return m_real; }
  int Ask(const FileEvent& event) const { return m_answer(event); }

 private:
  const Answer m_answer;
  sqlite3_vfs* const m_real;
  sqlite3_vfs m_vfs;
};

#endif  // VORN_TESTS_SUPPORT_SHIMVFS_H
