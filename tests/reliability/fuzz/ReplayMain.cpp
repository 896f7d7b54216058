// Runs a fuzz target over the inputs of a directory, where there is no libFuzzer:
//
//   TARGET DIRECTORY

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "FuzzTarget.h"
#include "WholeFile.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& directory) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void Run(const fs::path& file) {
  const std::string input = ReadWholeFile(file);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  const std::vector<fs::path> files = FilesOf(argv[1]);
  if (files.empty()) {
    std::fprintf(stderr, "%s: there are no inputs in '%s'\n", argv[0], argv[1]);
    return 1;
  }
  LLVMFuzzerInitialize(&argc, &argv);
  for (const fs::path& file : files) {
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    Run(file);
  }
  std::printf("%zu inputs run\n", files.size());
  return 0;
}
