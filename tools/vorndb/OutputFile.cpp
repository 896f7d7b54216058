#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Errors.h"

namespace vorndb {

namespace {

// Where a link leads in the end, whether there is a file or not, so that the link stays.
std::string Followed(const std::string& path) {
  constexpr int kMostLinks = 40;
  std::filesystem::path followed = path;
  std::error_code ignored;
  for (int links = 0; std::filesystem::is_symlink(followed, ignored); ++links) {
    if (links == kMostLinks) {
      throw Failure("cannot write " + path);
    }
    followed = followed.parent_path() / std::filesystem::read_symlink(followed, ignored);
  }
  return followed.string();
}

// Who may read a file is not changed by writing over it, as far as the file system and the
// user's rights allow: only root can make a file another's.
void TakeOwnerAndMode(const std::string& old, const std::string& part) {
  constexpr mode_t kPermissions = 0777;
  struct stat status {};
  if (stat(old.c_str(), &status) == 0) {
    static_cast<void>(chown(part.c_str(), status.st_uid, status.st_gid) == 0);
    static_cast<void>(chmod(part.c_str(), status.st_mode & kPermissions) == 0);
  }
}

// A new file, which nobody has put there or linked to something else before.
bool MakeAnew(const std::string& path) {
  constexpr mode_t kByUmask = 0666;
  const int descriptor = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kByUmask);
  return descriptor >= 0 && close(descriptor) == 0;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite) : m_path(path) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  if (!overwrite && std::filesystem::exists(status)) {
    throw Failure(path + " exists; to write over it, give --force");
  }
  if (std::filesystem::is_directory(status)) {
    throw Failure(path + " is a folder");
  }
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw Failure(path + " is not a plain file");
  }
  m_target = Followed(path);
  const std::string part = m_target + "." + std::to_string(getpid()) + ".part";
  if (!MakeAnew(part)) {
    throw Failure("cannot write " + path);
  }
  m_part = part;
  m_stream.open(part, std::ios::binary);
  TakeOwnerAndMode(m_target, m_part);
}

OutputFile::~OutputFile() {
  if (!m_part.empty()) {
    static_cast<void>(std::remove(m_part.c_str()));
  }
}

void OutputFile::Keep() {
  m_stream.close();
  std::error_code problem;
  if (m_stream) {
    std::filesystem::rename(m_part, m_target, problem);
  }
  if (!m_stream || problem) {
    throw Failure("cannot write " + m_path);
  }
  m_part.clear();
}

}  // namespace vorndb
