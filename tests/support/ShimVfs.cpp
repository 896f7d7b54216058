#include "ShimVfs.h"

#include <cstdlib>
#include <utility>

namespace {

// The real file follows in memory.
struct ShimFile {
  sqlite3_file base;
  const ShimVfs* shim;
  const char* path;  // SQLite keeps it until the file is closed
};

sqlite3_file* RealFile(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<ShimFile*>(file) + 1);
}

const ShimVfs& ShimOf(sqlite3_vfs* vfs) { return *static_cast<const ShimVfs*>(vfs->pAppData); }

int AskPath(const ShimVfs& shim, FileCall call, const char* path, int flags) {
  return shim.Ask({call, path == nullptr ? "" : path, 0, 0, nullptr, flags});
}

int AskFile(FileCall call, sqlite3_file* file, sqlite3_int64 offset = 0, int amount = 0,
            const void* data = nullptr, int flags = 0) {
  const auto* const shim = reinterpret_cast<ShimFile*>(file);
  return shim->shim->Ask(
      {call, shim->path == nullptr ? "" : shim->path, offset, amount, data, flags});
}

// The result of a call to which a test has given its answer.
template <typename Call>
int Perform(int answer, Call call) {
  if (answer > SQLITE_OK) {
    return answer;
  }
  const int rc = call();
  return answer < SQLITE_OK ? -answer : rc;
}

int Close(sqlite3_file* file) {
  AskFile(FileCall::kClose, file);
  return RealFile(file)->pMethods->xClose(RealFile(file));
}

int Read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
  return Perform(AskFile(FileCall::kRead, file, offset, amount), [&] {
    return RealFile(file)->pMethods->xRead(RealFile(file), buffer, amount, offset);
  });
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
  return Perform(AskFile(FileCall::kWrite, file, offset, amount, data), [&] {
    return RealFile(file)->pMethods->xWrite(RealFile(file), data, amount, offset);
  });
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  return Perform(AskFile(FileCall::kTruncate, file, size),
                 [&] { return RealFile(file)->pMethods->xTruncate(RealFile(file), size); });
}

int Sync(sqlite3_file* file, int flags) {
  return Perform(AskFile(FileCall::kSync, file, 0, 0, nullptr, flags),
                 [&] { return RealFile(file)->pMethods->xSync(RealFile(file), flags); });
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  return Perform(AskFile(FileCall::kFileSize, file),
                 [&] { return RealFile(file)->pMethods->xFileSize(RealFile(file), size); });
}

int Lock(sqlite3_file* file, int kind) {
  return Perform(AskFile(FileCall::kLock, file, 0, 0, nullptr, kind),
                 [&] { return RealFile(file)->pMethods->xLock(RealFile(file), kind); });
}

int Unlock(sqlite3_file* file, int kind) {
  return Perform(AskFile(FileCall::kUnlock, file, 0, 0, nullptr, kind),
                 [&] { return RealFile(file)->pMethods->xUnlock(RealFile(file), kind); });
}

int CheckReservedLock(sqlite3_file* file, int* result) {
  return Perform(AskFile(FileCall::kCheckReservedLock, file), [&] {
    return RealFile(file)->pMethods->xCheckReservedLock(RealFile(file), result);
  });
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
  const ShimVfs& shim = ShimOf(vfs);
  file->pMethods = nullptr;  // nothing to close, so far
  const int rc = AskPath(shim, FileCall::kOpen, path, flags);
  if (rc != SQLITE_OK) {
    return std::abs(rc);
  }
  reinterpret_cast<ShimFile*>(file)->shim = &shim;
  reinterpret_cast<ShimFile*>(file)->path = path;
  RealFile(file)->pMethods = nullptr;
  const int opened = shim.Real()->xOpen(shim.Real(), path, RealFile(file), flags, outFlags);
  if (RealFile(file)->pMethods != nullptr) {
    file->pMethods = &kMethods;
  }
  return opened;
}

int Delete(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
  const ShimVfs& shim = ShimOf(vfs);
  return Perform(AskPath(shim, FileCall::kDelete, path, syncDirectory),
                 [&] { return shim.Real()->xDelete(shim.Real(), path, syncDirectory); });
}

int Access(sqlite3_vfs* vfs, const char* path, int flags, int* result) {
  const ShimVfs& shim = ShimOf(vfs);
  return Perform(AskPath(shim, FileCall::kAccess, path, flags),
                 [&] { return shim.Real()->xAccess(shim.Real(), path, flags, result); });
}

}  // namespace

ShimVfs::ShimVfs(Answer answer)
    : m_answer(std::move(answer)), m_real(sqlite3_vfs_find(nullptr)), m_vfs(*m_real) {
  m_vfs.zName = "shim";
  m_vfs.pNext = nullptr;
  m_vfs.pAppData = this;
  m_vfs.szOsFile = static_cast<int>(sizeof(ShimFile)) + m_real->szOsFile;
  m_vfs.xOpen = Open;
  m_vfs.xDelete = Delete;
  m_vfs.xAccess = Access;
  sqlite3_vfs_register(&m_vfs, 1);
}

ShimVfs::~ShimVfs() {
  sqlite3_vfs_register(m_real, 1);
  sqlite3_vfs_unregister(&m_vfs);
}
