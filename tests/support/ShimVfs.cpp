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

// Adds the arguments of a method to its event.
void Describe(FileEvent& event, void* /*buffer*/, int amount, sqlite3_int64 offset) {
  event.amount = amount;
  event.offset = offset;
}

void Describe(FileEvent& event, const void* data, int amount, sqlite3_int64 offset) {
  event.data = data;
  event.amount = amount;
  event.offset = offset;
}

void Describe(FileEvent& event, sqlite3_int64 size) { event.offset = size; }

void Describe(FileEvent& event, int flags) { event.flags = flags; }

void Describe(FileEvent& /*event*/, void* /*result*/) {}

template <auto Method, typename... Arguments>
int Forward(sqlite3_file* file, Arguments... arguments) {
  return (RealFile(file)->pMethods->*Method)(RealFile(file), arguments...);
}

template <auto Method, FileCall Call, typename... Arguments>
int AskAndForward(sqlite3_file* file, Arguments... arguments) {
  FileEvent event = {Call};
  Describe(event, arguments...);
  return Perform(AskFile(file, event), [&] { return Forward<Method>(file, arguments...); });
}

int Close(sqlite3_file* file) {
  AskFile(file, {FileCall::kClose});
  return Forward<&sqlite3_io_methods::xClose>(file);
}

// Of the first version: without write-ahead logs and memory mapping, which the
// library never asks for.
sqlite3_io_methods FirstVersion() {
  using Methods = sqlite3_io_methods;
  Methods methods{};
  methods.iVersion = 1;
  methods.xClose = Close;
  methods.xRead = AskAndForward<&Methods::xRead, FileCall::kRead>;
  methods.xWrite = AskAndForward<&Methods::xWrite, FileCall::kWrite>;
  methods.xTruncate = AskAndForward<&Methods::xTruncate, FileCall::kTruncate>;
  methods.xSync = AskAndForward<&Methods::xSync, FileCall::kSync>;
  methods.xFileSize = AskAndForward<&Methods::xFileSize, FileCall::kFileSize>;
  methods.xLock = AskAndForward<&Methods::xLock, FileCall::kLock>;
  methods.xUnlock = AskAndForward<&Methods::xUnlock, FileCall::kUnlock>;
  methods.xCheckReservedLock =
      AskAndForward<&Methods::xCheckReservedLock, FileCall::kCheckReservedLock>;
  methods.xFileControl = Forward<&Methods::xFileControl>;
  methods.xSectorSize = Forward<&Methods::xSectorSize>;
  methods.xDeviceCharacteristics = Forward<&Methods::xDeviceCharacteristics>;
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
