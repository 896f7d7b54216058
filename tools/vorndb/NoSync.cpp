#include "NoSync.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

sqlite3_vfs* TheSystem() {
  static sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
  return system;
}

int Sync(sqlite3_file* /*file*/, int /*flags*/) { return SQLITE_OK; }

// The file is the system's own, with another table of methods.
int Open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* result) {
  static std::map<const sqlite3_io_methods*, sqlite3_io_methods> tables;
  const int code = TheSystem()->xOpen(TheSystem(), name, file, flags, result);
  if (file->pMethods != nullptr) {
    const auto table = tables.emplace(file->pMethods, *file->pMethods).first;
    table->second.xSync = Sync;
    file->pMethods = &table->second;
  }
  return code;
}

// The folder is not synced either.
int Delete(sqlite3_vfs* /*vfs*/, const char* name, int /*sync*/) {
  return TheSystem()->xDelete(TheSystem(), name, 0);
}

sqlite3_vfs& TheVfs() {
  static sqlite3_vfs vfs = [] {
    sqlite3_vfs made = *TheSystem();
    made.zName = "no-sync";
    made.xOpen = Open;
    made.xDelete = Delete;
    return made;
  }();
  return vfs;
}

bool IsSynced(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return errno == ENOENT;
  }
  const bool synced = fsync(descriptor) == 0;
  return close(descriptor) == 0 && synced;
}

}  // namespace

NoSync::NoSync(std::string file) : m_file(std::move(file)) {
  static_cast<void>(sqlite3_vfs_register(&TheVfs(), 1));
}

NoSync::~NoSync() { static_cast<void>(sqlite3_vfs_unregister(&TheVfs())); }

void NoSync::Sync() const {
  const std::string folder = std::filesystem::absolute(m_file).parent_path();
  for (const std::string& path : {m_file, m_file + "-wal", m_file + "-journal", folder}) {
    FailIf(!IsSynced(path), "cannot sync " + path);
  }
}

}  // namespace vorndb
