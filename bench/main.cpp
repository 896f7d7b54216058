// vorn_bench TMPFS DISK ROTATION [--benchmark_...] runs all benchmarks once. TMPFS and
// DISK are folders for files, ROTATION is the number of the contender that begins.

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "Bench.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc != 4) {
    std::cerr << "usage: vorn_bench TMPFS DISK ROTATION [--benchmark_...]\n";
    return 2;
  }
  const bench::Folders folders{argv[1], argv[2]};
  std::vector<bench::NamedContender> contenders = bench::Contenders();
  const auto first = std::strtoul(argv[3], nullptr, 10) % contenders.size();
  std::rotate(contenders.begin(), contenders.begin() + static_cast<std::ptrdiff_t>(first),
              contenders.end());
  std::string leftOut;
  for (const std::string& name : bench::LeftOut()) {
    leftOut += (leftOut.empty() ? "" : ", ") + name;
  }
  benchmark::AddCustomContext("left_out", leftOut);

  bench::RegisterOperations(folders, contenders);
  bench::RegisterSelects(folders, contenders);
  bench::RegisterReads(folders);
  bench::RegisterRequests();
  bench::RegisterLog();
  bench::RegisterLocks();
  bench::RegisterThreads(folders, contenders);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
