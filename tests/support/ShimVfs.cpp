#include "ShimVfs.h"

#include <utility>

namespace {

// There is one at a time.
ShimVfs::Answer answerOf;

// The real file follows in memory.
struct ShimFile {
  sqlite3_file base;
  const char* path;  // SQLite keeps it until the file is closed
};

sqlite3_file* RealFile(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<ShimFile*>(file) + 1);
}

sqlite3_vfs* RealVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

int Ask(FileCall call, const char* path, sqlite3_int64 offset, int amount, const void* data,
        int flags) {
  return answerOf({call, path == nullptr ? "" : path, offset, amount, data, flags});
}

int AskFile(FileCall call, sqlite3_file* file, sqlite3_int64 offset = 0, int amount = 0,
            const void* data = nullptr, int flags = 0) {
  return Ask(call, reinterpret_cast<ShimFile*>(file)->path, offset, amount, data, flags);
}

int Close(sqlite3_file* file) {
  AskFile(FileCall::kClose, file);
  return RealFile(file)->pMethods->xClose(RealFile(file));
}

int Read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
  const int rc = AskFile(FileCall::kRead, file, offset, amount);
  return rc != SQLITE_OK ? rc
                         : RealFile(file)->pMethods->xRead(RealFile(file), buffer, amount, offset);
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
  const int rc = AskFile(FileCall::kWrite, file, offset, amount, data);
  return rc != SQLITE_OK ? rc
                         : RealFile(file)->pMethods->xWrite(RealFile(file), data, amount, offset);
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  const int rc = AskFile(FileCall::kTruncate, file, size);
  return rc != SQLITE_OK ? rc : RealFile(file)->pMethods->xTruncate(RealFile(file), size);
}

int Sync(sqlite3_file* file, int flags) {
  const int rc = AskFile(FileCall::kSync, file, 0, 0, nullptr, flags);
  return rc != SQLITE_OK ? rc : RealFile(file)->pMethods->xSync(RealFile(file), flags);
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  const int rc = AskFile(FileCall::kFileSize, file);
  return rc != SQLITE_OK ? rc : RealFile(file)->pMethods->xFileSize(RealFile(file), size);
}

int Lock(sqlite3_file* file, int kind) {
  const int rc = AskFile(FileCall::kLock, file, 0, 0, nullptr, kind);
  return rc != SQLITE_OK ? rc : RealFile(file)->pMethods->xLock(RealFile(file), kind);
}

int Unlock(sqlite3_file* file, int kind) {
  const int rc = AskFile(FileCall::kUnlock, file, 0, 0, nullptr, kind);
  return rc != SQLITE_OK ? rc : RealFile(file)->pMethods->xUnlock(RealFile(file), kind);
}

int CheckReservedLock(sqlite3_file* file, int* result) {
  const int rc = AskFile(FileCall::kCheckReservedLock, file);
  return rc != SQLITE_OK ? rc
                         : RealFile(file)->pMethods->xCheckReservedLock(RealFile(file), result);
}

int FileControl(sqlite3_file* file, int operation, void* argument) {
  return RealFile(file)->pMethods->xFileControl(RealFile(file), operation, argument);
}

int SectorSize(sqlite3_file* file) { return RealFile(file)->pMethods->xSectorSize(RealFile(file)); }

int DeviceCharacteristics(sqlite3_file* file) {
  return RealFile(file)->pMethods->xDeviceCharacteristics(RealFile(file));
}

// Of the first version: without write-ahead logs and memory mapping, which the
// library never asks for.
constexpr sqlite3_io_methods kMethods = {1,
                                         Close,
                                         Read,
                                         Write,
                                         Truncate,
                                         Sync,
                                         FileSize,
                                         Lock,
                                         Unlock,
                                         CheckReservedLock,
                                         FileControl,
                                         SectorSize,
                                         DeviceCharacteristics,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr};

int Open(sqlite3_vfs* vfs, const char* path, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;  // nothing to close, so far
  const int rc = Ask(FileCall::kOpen, path, 0, 0, nullptr, flags);
  if (rc != SQLITE_OK) {
    return rc;
  }
  reinterpret_cast<ShimFile*>(file)->path = path;
  RealFile(file)->pMethods = nullptr;
  const int opened = RealVfs(vfs)->xOpen(RealVfs(vfs), path, RealFile(file), flags, outFlags);
  if (RealFile(file)->pMethods != nullptr) {
    file->pMethods = &kMethods;
  }
  return opened;
}

int Delete(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
  const int rc = Ask(FileCall::kDelete, path, 0, 0, nullptr, syncDirectory);
  return rc != SQLITE_OK ? rc : RealVfs(vfs)->xDelete(RealVfs(vfs), path, syncDirectory);
}

int Access(sqlite3_vfs* vfs, const char* path, int flags, int* result) {
  const int rc = Ask(FileCall::kAccess, path, 0, 0, nullptr, flags);
  return rc != SQLITE_OK ? rc : RealVfs(vfs)->xAccess(RealVfs(vfs), path, flags, result);
}

}  // namespace

ShimVfs::ShimVfs(Answer answer) : m_real(sqlite3_vfs_find(nullptr)), m_vfs(*m_real) {
  answerOf = std::move(answer);
  m_vfs.zName = "shim";
  m_vfs.pNext = nullptr;
  m_vfs.pAppData = m_real;
  m_vfs.szOsFile = static_cast<int>(sizeof(ShimFile)) + m_real->szOsFile;
  m_vfs.xOpen = Open;
  m_vfs.xDelete = Delete;
  m_vfs.xAccess = Access;
  sqlite3_vfs_register(&m_vfs, 1);
}

ShimVfs::~ShimVfs() {
  sqlite3_vfs_register(m_real, 1);
  sqlite3_vfs_unregister(&m_vfs);
  answerOf = nullptr;
}
