// Runs a program with libvorncheck.so in front of its libraries.

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Options.h"

namespace {

enum Status { kWrongUse = 2, kCannotRun = 126, kNoProgram = 127 };

// Beside the launcher in a build, otherwise where it was installed, relative to the launcher.
std::string Library() {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const char* const relative : {"", VORNCHECK_LIBRARIES}) {
    const auto library = folder / relative / "libvorncheck.so";
    if (std::filesystem::exists(library)) {
      std::string path = std::filesystem::canonical(library).string();
      if (path.find_first_of(" :") != std::string::npos) {
        throw std::runtime_error("a path with a space or a colon cannot be preloaded: " + path);
      }
      return path;
    }
  }
  throw std::runtime_error("libvorncheck.so is not beside vorncheck nor in its prefix");
}

void Preload(const std::string& library) {
  const char* const others = std::getenv("LD_PRELOAD");
  const std::string libraries = library + (others != nullptr ? ':' + std::string(others) : "");
  setenv("LD_PRELOAD", libraries.c_str(), 1);
}

// Returns only if that fails.
int Execute(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  const int error = errno;
  std::cerr << "vorncheck: " << words[0] << ": " << std::strerror(error) << '\n';
  return error == ENOENT ? kNoProgram : kCannotRun;
}

int Launch(int count, char** arguments) {
  const vorncheck::CommandLine line = vorncheck::ReadCommandLine(count, arguments);
  if (line.program.empty()) {
    return EXIT_SUCCESS;
  }
  const std::string& json = line.options.json;
  if (!json.empty() && !std::ofstream(json, std::ios::app)) {
    throw std::runtime_error("cannot write to " + json);
  }
  for (const auto& [variable, value] : line.variables) {
    setenv(variable.c_str(), value.c_str(), 1);
  }
  Preload(Library());
  return Execute(line.program);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return Launch(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "vorncheck: " << error.what() << '\n';
    return kWrongUse;
  }
}
