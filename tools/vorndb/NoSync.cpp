#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>

#include "DatabaseFile.h"

namespace vorndb {

namespace {

sqlite3_vfs* TheSystem() { return sqlite3_vfs_find("unix"); }

int SkipSync(sqlite3_file* /*file*/, int /*flags*/) { return SQLITE_OK; }

// The file is the system's own, with another table of methods.
int Open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* result) {
  static std::map<const sqlite3_io_methods*, sqlite3_io_methods> tables;
  const int code = TheSystem()->xOpen(TheSystem(), name, file, flags, result);
  if (file->pMethods != nullptr) {
    const auto table = tables.emplace(file->pMethods, *file->pMethods).first;
    table->second.xSync = SkipSync;
    file->pMethods = &table->second;
  }
  return code;
}

// The folder is not synced either.
int Delete(sqlite3_vfs* /*vfs*/, const char* name, int /*sync*/) {
  return TheSystem()->xDelete(TheSystem(), name, 0);
}

bool SyncIfThere(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return errno == ENOENT;
  }
  const bool synced = fsync(descriptor) == 0;
  return close(descriptor) == 0 && synced;
}

}  // namespace

void StopSyncs() {
  static sqlite3_vfs vfs = *TheSystem();
  vfs.zName = "no-sync";
  vfs.xOpen = Open;
  vfs.xDelete = Delete;
  static_cast<void>(sqlite3_vfs_register(&vfs, 1));
}

std::string Sync(const std::string& file) {
  const std::string folder = std::filesystem::absolute(file).parent_path();
  for (const std::string& path : {file, file + "-wal", file + "-journal", folder}) {
    if (!SyncIfThere(path)) {
      return "cannot sync " + path;
    }
  }
  return "";
}

}  // namespace vorndb
