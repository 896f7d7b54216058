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
#include <utility>
#include <vector>

#include "LibraryTest.h"
#include "Sweep.h"

namespace {

FaultPoint point;
int error = 0;
bool syncsFail = false;
sqlite3_syscall_ptr real = nullptr;  // the call that is replaced

bool Fails() {
  const bool fails = point.Fails();
  errno = fails ? error : errno;
  return fails;
}

template <typename Result, typename... Arguments>
Result Forward(Arguments... arguments) {
  return Fails() ? -1 : reinterpret_cast<Result (*)(Arguments...)>(real)(arguments...);
}

// Requests of locks fail, releases do not.
int Control(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const bool isLock = (command == F_SETLK || command == F_SETLK64) &&
                      static_cast<const struct flock64*>(argument)->l_type != F_UNLCK;
  return isLock && Fails() ? -1 : fcntl64(file, command, argument);
}

struct FailingCall {
  const char* name;
  int error;
  // The names of SQLite's for the call; which it uses depends on how it was built. None: a call
  // that it makes directly.
  std::vector<const char*> calls;
  sqlite3_syscall_ptr function;
};

template <typename Function>
FailingCall Replacing(const char* name, int code, std::vector<const char*> calls,
                      Function* function) {
  return {name, code, std::move(calls), reinterpret_cast<sqlite3_syscall_ptr>(function)};
}

std::vector<FailingCall> FailingCalls() {
  return {
      Replacing("Open", EMFILE, {"open"}, Forward<int, const char*, int, int>),
      Replacing("LockBusy", EAGAIN, {"fcntl"}, Control),
      Replacing("Lock", EIO, {"fcntl"}, Control),
      Replacing("Stat", EIO, {"fstat"}, Forward<int, int, struct stat64*>),
      Replacing("Read", EIO, {"pread", "pread64"}, Forward<ssize_t, int, void*, size_t, off64_t>),
      Replacing("WriteFull", ENOSPC, {"pwrite", "pwrite64"},
                Forward<ssize_t, int, const void*, size_t, off64_t>),
      Replacing("Write", EIO, {"pwrite", "pwrite64"},
                Forward<ssize_t, int, const void*, size_t, off64_t>),
      Replacing("Truncate", EIO, {"ftruncate"}, Forward<int, int, off64_t>),
      {"Sync", EIO, {}, nullptr},
      Replacing("Unlink", EIO, {"unlink"}, Forward<int, const char*>)};
}

class SystemCallSweepTest : public LibraryTest,
                            public ::testing::WithParamInterface<operations::Operation> {};

TEST_P(SystemCallSweepTest, EveryCallWithAHotJournal) {
  sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
  for (const FailingCall& each : FailingCalls()) {
    error = each.error;
    syncsFail = each.calls.empty();
    for (const char* call : each.calls) {
      if (const sqlite3_syscall_ptr function = vfs->xGetSystemCall(vfs, call)) {
        real = function;
        vfs->xSetSystemCall(vfs, call, each.function);
      }
    }
    Fault fault = {"system calls", each.name, point};
    // A write that is done lowers its lock, which is a request, too.
    fault.mayComeAfterEffect = each.function == reinterpret_cast<sqlite3_syscall_ptr>(Control);
    EXPECT_GT(SweepOver(GetParam(), fault, Found::kHotJournal), 0) << each.name;
    vfs->xSetSystemCall(vfs, nullptr, nullptr);
  }
  syncsFail = false;
}

INSTANTIATE_TEST_SUITE_P(, SystemCallSweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

}  // namespace

// In front of the C library's. What a test writes need not survive a power failure.
int fsync(int /*file*/) { return syncsFail && Fails() ? -1 : 0; }

int fdatasync(int /*file*/) { return syncsFail && Fails() ? -1 : 0; }
