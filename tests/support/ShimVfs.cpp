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

int AskFile(sqlite3_file* file, FileEvent event) {
  const auto* const shim = reinterpret_cast<ShimFile*>(file);
  event.path = shim->path == nullptr ? "" : shim->path;
  return shim->shim->Ask(event);
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

template <auto Method, typename... Arguments>
int PerformOn(sqlite3_file* file, const FileEvent& event, Arguments... arguments) {
  return Perform(AskFile(file, event),
                 [&] { return (RealFile(file)->pMethods->*Method)(RealFile(file), arguments...); });
}

int Close(sqlite3_file* file) {
  AskFile(file, {FileCall::kClose});
  return RealFile(file)->pMethods->xClose(RealFile(file));
}

int Read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
  return PerformOn<&sqlite3_io_methods::xRead>(file, {FileCall::kRead, "", offset, amount}, buffer,
                                               amount, offset);
}

int Write(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
  return PerformOn<&sqlite3_io_methods::xWrite>(file, {FileCall::kWrite, "", offset, amount, data},
                                                data, amount, offset);
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  return PerformOn<&sqlite3_io_methods::xTruncate>(file, {FileCall::kTruncate, "", size}, size);
}

int Sync(sqlite3_file* file, int flags) {
  return PerformOn<&sqlite3_io_methods::xSync>(file, {FileCall::kSync, "", 0, 0, nullptr, flags},
                                               flags);
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  return PerformOn<&sqlite3_io_methods::xFileSize>(file, {FileCall::kFileSize}, size);
}

int Lock(sqlite3_file* file, int kind) {
  return PerformOn<&sqlite3_io_methods::xLock>(file, {FileCall::kLock, "", 0, 0, nullptr, kind},
                                               kind);
}

int Unlock(sqlite3_file* file, int kind) {
  return PerformOn<&sqlite3_io_methods::xUnlock>(file, {FileCall::kUnlock, "", 0, 0, nullptr, kind},
                                                 kind);
}

int CheckReservedLock(sqlite3_file* file, int* result) {
  return PerformOn<&sqlite3_io_methods::xCheckReservedLock>(file, {FileCall::kCheckReservedLock},
                                                            result);
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
sqlite3_io_methods FirstVersion() {
  sqlite3_io_methods methods{};
  methods.iVersion = 1;
  methods.xClose = Close;
  methods.xRead = Read;
  methods.xWrite = Write;
  methods.xTruncate = Truncate;
  methods.xSync = Sync;
  methods.xFileSize = FileSize;
  methods.xLock = Lock;
  methods.xUnlock = Unlock;
  methods.xCheckReservedLock = CheckReservedLock;
  methods.xFileControl = FileControl;
  methods.xSectorSize = SectorSize;
  methods.xDeviceCharacteristics = DeviceCharacteristics;
  return methods;
}

const sqlite3_io_methods kMethods = FirstVersion();

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
