#include "LockHolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>

namespace vorncheck {
namespace {

// SQLite's lock bytes begin here, whatever the size of the file.
constexpr std::uint64_t kPendingByte = 0x40000000;

struct Lock {
  bool isExclusive = false;
  int process = 0;
  std::uint64_t node = 0;
  std::uint64_t end = 0;
};

// A line is "1: POSIX  ADVISORY  WRITE 4711 08:01:131090 1073741824 1073741825"; one that waits
// has "->" before its kind.
bool ReadLock(const std::string& line, Lock& lock) {
  std::istringstream words(line);
  std::string kind;
  std::string access;
  std::string file;
  std::string end;
  std::string other;
  words >> other >> kind >> other >> access >> lock.process >> file >> other >> end;
  if (!words || (kind != "POSIX" && kind != "OFDLCK")) {
    return false;
  }
  lock.isExclusive = access == "WRITE";
  lock.node = std::stoull(file.substr(file.rfind(':') + 1));
  lock.end = end == "EOF" ? UINT64_MAX : std::stoull(end);
  return true;
}

std::string DescribeProcess(int process) {
  if (process == getpid()) {
    return "this process";
  }
  if (process <= 0) {
    return "a process that the system does not name";
  }
  const std::string number = std::to_string(process);
  std::string name;
  std::getline(std::ifstream("/proc/" + number + "/comm"), name);
  return "process " + number + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace

std::string LockHolders(const std::string& database) {
  struct stat file {};
  struct stat index {};
  stat(database.c_str(), &file);
  // With a write-ahead log the locks are on its index, where readers exclude nobody.
  stat((database + "-shm").c_str(), &index);
  std::set<std::string> holders;
  std::ifstream table("/proc/locks");
  for (std::string line; std::getline(table, line);) {
    Lock lock;
    if (ReadLock(line, lock) &&
        (index.st_ino == 0 ? lock.node == file.st_ino && lock.end >= kPendingByte
                           : lock.node == index.st_ino && lock.isExclusive)) {
      holders.insert(DescribeProcess(lock.process));
    }
  }
  std::string text;
  for (const std::string& holder : holders) {
    text += (text.empty() ? "" : ", ") + holder;
  }
  return text;
}

}  // namespace vorncheck
