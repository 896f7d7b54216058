#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
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
  struct stat status {};
  if (stat(old.c_str(), &status) == 0) {
    static_cast<void>(chown(part.c_str(), status.st_uid, status.st_gid) == 0);
    static_cast<void>(chmod(part.c_str(), status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) == 0);
  }
}

// Throws Failure for a path at which no file can be made, or written over if that is meant.
void RequireWritable(const std::string& path, bool overwrite) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  const bool exists = std::filesystem::exists(status);
  FailIf(exists && !overwrite, path + " exists; to write over it, give --force");
  FailIf(exists && !std::filesystem::is_regular_file(status), path + " is not a plain file");
  // A loop of links, among others, has no status.
  FailIf(status.type() == std::filesystem::file_type::none, "cannot write " + path);
}

// Writes a file that is there when it is whole, and not before: beside the path, or beside the file
// that a link leads to. Throws Failure.
void WriteFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
  const std::string target = Followed(path);
  const std::string part = target + "." + std::to_string(getpid()) + ".part";
  std::string made;  // to be removed, if not empty
  const auto remove = [&made] { static_cast<void>(std::remove(made.c_str())); };
  const auto watch = WatchSignals(remove);
  auto lock = HoldSignals();
  // A new file, which nobody has put there or linked to something else before.
  std::FILE* const file = std::fopen(part.c_str(), "wx");
  FailIf(file == nullptr, "cannot write " + path);
  made = part;
  try {
    const bool isClosed = std::fclose(file) == 0;
    std::ofstream stream(part, std::ios::binary);
    TakeOwnerAndMode(target, part);
    lock.unlock();
    write(stream);
    stream.close();
    lock = HoldSignals();
    FailIf(!isClosed || !stream || std::rename(part.c_str(), target.c_str()) != 0,
           "cannot write " + path);
  } catch (...) {
    remove();
    throw;
  }
}

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
  RequireWritable(arguments.path, arguments.force);
  Result result;
  WriteFile(arguments.path, [&](std::ostream& output) {
    result = RunSelect(arguments);
    FailIf(!result.stop.empty(), result.stop);
    Write(result, format, std::nullopt, output);
    // A file cannot warn of its gaps.
    if (!result.doubts.empty()) {
      throw Failure("nothing is exported: " + result.doubts.front());
    }
  });
  if (!arguments.quiet) {
    std::cout << Counted(result.rows.size(), "row") << " written to " << arguments.path << '\n';
  }
}

}  // namespace vorndb
