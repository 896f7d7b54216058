// The system fails below SQLite, with the errors of its own calls. ShimVfs is above the part
// of SQLite that makes these calls: that retries them, opens a file for reading only if it
// cannot for writing, and makes result codes of their errors.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <ostream>
#include <string>
#include <vector>

#include "LibraryTest.h"
#include "Sweep.h"

namespace {

FaultPoint point;
const char* failing = nullptr;  // the call
int error = 0;

bool Fails(const std::string& call) {
  if (failing == nullptr || call != failing || !point.Fails()) {
    return false;
  }
  errno = error;
  return true;
}

int Open(const char* path, int flags, mode_t mode) {
  return Fails("open") ? -1 : open64(path, flags, mode);
}

// Requests of locks fail, releases do not.
int Control(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const bool isLock = (command == F_SETLK || command == F_SETLK64) &&
                      static_cast<const struct flock64*>(argument)->l_type != F_UNLCK;
  return isLock && Fails("lock") ? -1 : fcntl64(file, command, argument);
}

int Stat(int file, struct stat64* status) { return Fails("fstat") ? -1 : fstat64(file, status); }

ssize_t Read(int file, void* buffer, size_t size, off64_t offset) {
  return Fails("pread") ? -1 : pread64(file, buffer, size, offset);
}

ssize_t Write(int file, const void* data, size_t size, off64_t offset) {
  return Fails("pwrite") ? -1 : pwrite64(file, data, size, offset);
}

int Truncate(int file, off64_t size) { return Fails("ftruncate") ? -1 : ftruncate64(file, size); }

int Unlink(const char* path) { return Fails("unlink") ? -1 : unlink(path); }

// While it lives, SQLite makes its calls here. Which of the names it uses for reading and
// writing depends on how it was built.
class SystemCalls {
 public:
  SystemCalls() {
    Set("open", Open);
    Set("fcntl", Control);
    Set("fstat", Stat);
    Set("pread", Read);
    Set("pread64", Read);
    Set("pwrite", Write);
    Set("pwrite64", Write);
    Set("ftruncate", Truncate);
    Set("unlink", Unlink);
  }
  ~SystemCalls() { m_vfs->xSetSystemCall(m_vfs, nullptr, nullptr); }
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;

 private:
  template <typename Function>
  void Set(const char* name, Function* function) {
    m_vfs->xSetSystemCall(m_vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(function));
  }

  sqlite3_vfs* const m_vfs = sqlite3_vfs_find(nullptr);
};

struct Failing {
  const char* name;
  const char* call;
  int error;
};

class SystemCallSweepTest : public LibraryTest,
                            public ::testing::WithParamInterface<operations::Operation> {};

TEST_P(SystemCallSweepTest, EveryCallWithAHotJournal) {
  for (const Failing& each : std::vector<Failing>{{"Open", "open", EMFILE},
                                                  {"LockBusy", "lock", EAGAIN},
                                                  {"Lock", "lock", EIO},
                                                  {"Stat", "fstat", EIO},
                                                  {"Read", "pread", EIO},
                                                  {"WriteFull", "pwrite", ENOSPC},
                                                  {"Write", "pwrite", EIO},
                                                  {"Truncate", "ftruncate", EIO},
                                                  {"Sync", "fsync", EIO},
                                                  {"Unlink", "unlink", EIO}}) {
    const SystemCalls calls;
    error = each.error;
    Fault fault;
    fault.kind = "system calls";
    fault.name = each.name;
    fault.set = [&each](int successes, FaultPoint::Kind kind) {
      failing = each.call;
      point.Set(successes, kind);
    };
    fault.clear = [] {
      failing = nullptr;
      return point.Failures();
    };
    // A write that is done lowers its lock, which is a request, too.
    fault.mayComeAfterEffect = std::string(each.call) == "lock";
    EXPECT_GT(SweepOver(GetParam(), fault, Found::kHotJournal), 0) << each.name;
  }
}

INSTANTIATE_TEST_SUITE_P(, SystemCallSweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

}  // namespace

// In front of the C library's. What a test writes need not survive a power failure.
int fsync(int /*file*/) { return Fails("fsync") ? -1 : 0; }

int fdatasync(int /*file*/) { return Fails("fsync") ? -1 : 0; }
