#include "LockHolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>

namespace vorncheck {
namespace {

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

// A line is "1: POSIX  ADVISORY  WRITE 4711 08:01:131090 1073741824 1073741825". A waiting process
// has "->" before "POSIX", and is left out. Returns an empty text for a lock of another file.
std::string HolderIn(const std::string& line, std::uint64_t file, std::uint64_t index) {
  std::istringstream words(line);
  std::string access;
  std::string node;
  int process = 0;
  words >> node >> node >> node >> access >> process >> node;
  const std::uint64_t locked = words ? std::stoull(node.substr(node.rfind(':') + 1)) : 0;
  const bool isHeld = index == 0 ? locked == file : locked == index && access == "WRITE";
  return words && isHeld ? DescribeProcess(process) : "";
}

}  // namespace

std::string LockHolders(const std::string& database) {
  const std::uint64_t file = NodeOf(database);
  // With a write-ahead log the locks are on its index, where readers exclude nobody.
  const std::uint64_t index = NodeOf(database + "-shm");
  std::set<std::string> holders;
  std::ifstream table("/proc/locks");
  for (std::string line; std::getline(table, line);) {
    holders.insert(HolderIn(line, file, index));
  }
  std::string text;
  for (const std::string& holder : holders) {
    text += (text.empty() ? "" : ", ") + holder;
  }
  return text;
}

}  // namespace vorncheck
