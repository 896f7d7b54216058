#include "DiskRecorder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace {

// Where syncs of directories are noted, if anywhere.
std::vector<DiskEvent>* directorySyncs = nullptr;

// Below SQLite's VFS: that alone decides when to sync a directory.
int Sync(int file) {
  struct stat status = {};
  if (directorySyncs != nullptr && fstat(file, &status) == 0 && S_ISDIR(status.st_mode)) {
    directorySyncs->push_back({DiskEvent::Kind::kSyncDirectory, "", 0, ""});
  }
  return 0;
}

}  // namespace

// In front of the C library's.
int fsync(int file) { return Sync(file); }
int fdatasync(int file) { return Sync(file); }

DiskRecorder::DiskRecorder(const TemporaryDatabase& database)
    : m_fileName(database.FileName()), m_shim([this](const FileEvent& event) {
        Note(event);
        return SQLITE_OK;
      }) {
  directorySyncs = &m_events;
}

DiskRecorder::~DiskRecorder() { directorySyncs = nullptr; }

void DiskRecorder::Note(const FileEvent& event) {
  using Kind = DiskEvent::Kind;
  const std::string name = std::filesystem::path(event.path).filename().string();
  if (name.compare(0, m_fileName.size(), m_fileName) != 0) {
    return;  // a temporary file
  }
  const auto offset = static_cast<std::size_t>(event.offset);
  switch (event.call) {
    case FileCall::kOpen:
      if ((event.flags & SQLITE_OPEN_CREATE) != 0 && !std::filesystem::exists(event.path)) {
        m_events.push_back({Kind::kCreate, name, 0, ""});
      }
      break;
    case FileCall::kWrite:
      m_events.push_back({Kind::kWrite, name, offset,
                          std::string(static_cast<const char*>(event.data),
                                      static_cast<std::size_t>(event.amount))});
      break;
    case FileCall::kTruncate:
      m_events.push_back({Kind::kTruncate, name, offset, ""});
      break;
    case FileCall::kSync:
      m_events.push_back({Kind::kSync, name, 0, ""});
      break;
    case FileCall::kDelete:
      m_events.push_back({Kind::kDelete, name, 0, ""});
      break;
    default:
      break;  // changes nothing
  }
}
