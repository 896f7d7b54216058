#include "ReadFault.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>

namespace {

FaultPoint faultPoint;

ssize_t FaultyRead(int file, void* buffer, size_t size) {
  if (faultPoint.Fails()) {
    errno = EIO;
    return -1;
  }
  return read(file, buffer, size);
}

ssize_t FaultyPread(int file, void* buffer, size_t size, off_t offset) {
  if (faultPoint.Fails()) {
    errno = EIO;
    return -1;
  }
  return pread(file, buffer, size, offset);
}

ssize_t FaultyPread64(int file, void* buffer, size_t size, off64_t offset) {
  if (faultPoint.Fails()) {
    errno = EIO;
    return -1;
  }
  return pread64(file, buffer, size, offset);
}

// Null puts the system's own call back. Which of them SQLite uses depends on how
// it was built.
void SetSystemCall(const char* name, sqlite3_syscall_ptr call) {
  sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
  vfs->xSetSystemCall(vfs, name, call);
}

}  // namespace

ReadFault::ReadFault(int readsBefore, Kind kind) {
  faultPoint.Set(readsBefore, kind);
  SetSystemCall("read", reinterpret_cast<sqlite3_syscall_ptr>(FaultyRead));
  SetSystemCall("pread", reinterpret_cast<sqlite3_syscall_ptr>(FaultyPread));
  SetSystemCall("pread64", reinterpret_cast<sqlite3_syscall_ptr>(FaultyPread64));
}

ReadFault::~ReadFault() {
  SetSystemCall("read", nullptr);
  SetSystemCall("pread", nullptr);
  SetSystemCall("pread64", nullptr);
}

int ReadFault::Failures() { return faultPoint.Failures(); }
