#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Result.h"
#include "Signals.h"
#include "Terminal.h"

namespace vorndb {

namespace {

// The end of a chain of links, whether there is a file or not, so that the links stay.
std::string Followed(std::filesystem::path path) {
  constexpr int kMostLinks = 40;
  std::error_code ignored;
  for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(path, ignored); ++links) {
    path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
  }
  return path.string();
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
  std::FILE* const file = std::fopen(path.c_str(), "wx");
  return file != nullptr && std::fclose(file) == 0;
}

// A file that is there when it is whole, and not before. It is written beside the path, or
// beside the file that a link leads to.
class OutputFile {
 public:
  // Throws Failure when it cannot be written, and, unless it may be written over, when
  // there is a file already.
  OutputFile(const std::string& path, bool overwrite) : m_target(Followed(path)) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    const bool exists = std::filesystem::exists(status);
    FailIf(exists && !overwrite, path + " exists; to write over it, give --force");
    FailIf(exists && !std::filesystem::is_regular_file(status), path + " is not a plain file");
    const std::string part = m_target + "." + std::to_string(getpid()) + ".part";
    const auto lock = m_watch.Lock();
    // A loop of links, among others, has no status.
    FailIf(status.type() == std::filesystem::file_type::none || !MakeAnew(part),
           "cannot write " + path);
    m_part = part;
    m_stream.open(m_part, std::ios::binary);
    TakeOwnerAndMode(m_target, m_part);
  }

  ~OutputFile() { Remove(); }

  std::ostream& Stream() { return m_stream; }

  // Puts the file in its place. Throws Failure when it could not be written whole.
  void Keep() {
    m_stream.close();
    const auto lock = m_watch.Lock();
    FailIf(!m_stream || std::rename(m_part.c_str(), m_target.c_str()) != 0,
           "cannot write " + m_target);
  }

 private:
  // There is none once the file is kept.
  void Remove() const { static_cast<void>(std::remove(m_part.c_str())); }

  std::string m_target;  // the file itself, if the path is a link
  std::string m_part;    // empty until it is made
  std::ofstream m_stream;
  SignalWatch m_watch{[this] { Remove(); }};
};

}  // namespace

void Export(const Arguments& arguments) {
  RefuseIf(arguments.path == "-",
           "export writes a file; for standard output there is select --format");
  const std::string format =
      arguments.format.empty() ? FormatOfFile(arguments.path) : arguments.format;
  if (arguments.sql) {
    Select(arguments);
    return;
  }
  std::error_code ignored;
  FailIf(std::filesystem::equivalent(arguments.path, arguments.file, ignored),
         arguments.path + " is the database itself");
  OutputFile output(arguments.path, arguments.force);
  Result result = RunSelect(arguments);
  FailIf(!result.stop.empty(), result.stop);
  Write(result, format, std::nullopt, output.Stream());
  // A file cannot warn of its gaps.
  if (!result.doubts.empty()) {
    throw Failure("nothing is exported: " + result.doubts.front());
  }
  output.Keep();
  if (!arguments.quiet) {
    std::cout << Counted(result.rows.size(), "row") << " written to " << arguments.path << '\n';
  }
}

}  // namespace vorndb
