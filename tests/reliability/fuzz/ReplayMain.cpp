// Runs a fuzz target over the inputs of a directory, where there is no libFuzzer:
//
//   TARGET DIRECTORY

#include <cstdio>
#include <filesystem>
#include <set>

#include "FuzzTarget.h"
#include "WholeFile.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    files.insert(entry.path());
  }
  LLVMFuzzerInitialize(&argc, &argv);
  for (const std::filesystem::path& file : files) {
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    const std::string input = ReadWholeFile(file);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  }
  std::printf("%zu inputs run\n", files.size());
  return files.empty() ? 1 : 0;
}
