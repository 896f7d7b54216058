// Runs a program with libvorncheck.so in front of its libraries.

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "Options.h"

namespace {

enum Status { kWrongUse = 2, kCannotRun = 126, kNoProgram = 127 };

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: vorncheck [OPTIONS] PROGRAM [ARGUMENTS...]\n";
  }
};

// Beside the launcher in a build, otherwise where it was installed, relative to the launcher.
std::string Library() {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const char* const relative : {"", VORNCHECK_LIBRARIES}) {
    const auto library = folder / relative / "libvorncheck.so";
    if (std::filesystem::exists(library)) {
      const std::string path = std::filesystem::canonical(library).string();
      if (path.find_first_of(" :") != std::string::npos) {
        throw std::runtime_error("a path with a space or a colon cannot be preloaded: " + path);
      }
      return path;
    }
  }
  throw std::runtime_error("libvorncheck.so is not beside vorncheck nor in its prefix");
}

void SetEnvironment(const CLI::App& app) {
  for (const CLI::Option* const option : app.get_options()) {
    if (option->count() > 0 && !option->get_envname().empty()) {
      setenv(option->get_envname().c_str(), CLI::detail::join(option->results(), ",").c_str(), 1);
    }
  }
  const char* const others = std::getenv("LD_PRELOAD");
  const std::string libraries = Library() + (others != nullptr ? ':' + std::string(others) : "");
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
  CLI::App app("Runs a program and reports wrong use of libvorndatabase.", "vorncheck");
  vorncheck::Options options;
  vorncheck::Declare(app, options);
  app.set_version_flag("-V,--version", "vorncheck " VORNCHECK_VERSION);
  app.formatter(std::make_shared<Help>());
  app.prefix_command();
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& success) {
    return app.exit(success);
  }
  std::vector<std::string> words = app.remaining();
  if (!words.empty() && words[0] == "--") {
    words.erase(words.begin());
  }
  if (words.empty()) {
    throw CLI::RequiredError("PROGRAM");
  }
  if (words[0][0] == '-') {
    throw CLI::ExtrasError({words[0]});
  }
  if (!options.json.empty() && !std::ofstream(options.json, std::ios::app)) {
    throw CLI::ValidationError("--json", "cannot write to " + options.json);
  }
  SetEnvironment(app);
  return Execute(words);
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
