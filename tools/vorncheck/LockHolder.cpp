#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>

#include "Operation.h"

namespace vorncheck {
namespace {

// 0 if there is no such file.
std::uint64_t NodeOf(const std::string& path) {
  struct stat file {};
  return stat(path.c_str(), &file) == 0 ? file.st_ino : 0;
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
  // With a write-ahead log the locks are on its index, where readers exclude nobody.
  const std::uint64_t index = NodeOf(database + "-shm");
  const std::uint64_t locked = index != 0 ? index : NodeOf(database);
  std::set<std::string> holders;
  std::ifstream table("/proc/locks");
  // A line is "1: POSIX  ADVISORY  WRITE 4711 08:01:131090 1073741824 1073741825". A waiting
  // process has "->" before "POSIX", so the line cannot be read.
  for (std::string line; std::getline(table, line);) {
    std::replace(line.begin(), line.end(), ':', ' ');
    std::istringstream words(line);
    std::string skipped;
    std::string access;
    int process = 0;
    std::uint64_t node = 0;
    words >> skipped >> skipped >> skipped >> access >> process >> skipped >> skipped >> node;
    if (words && node == locked && (index == 0 || access == "WRITE")) {
      holders.insert(DescribeProcess(process));
    }
  }
  std::string text;
  for (const std::string& holder : holders) {
    text += (text.empty() ? "" : ", ") + holder;
  }
  return text;
}

}  // namespace vorncheck
