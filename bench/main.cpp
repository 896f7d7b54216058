// vorn_bench TMPFS DISK [--benchmark_...] runs all benchmarks once, with files in the two
// folders.

#include <cstdlib>
#include <iostream>

#include "Bench.h"

int main(int argc, char** argv) {
  setenv("VORN_DLOG_PRIORITY", "S", 0);  // the log is silent unless told otherwise
  benchmark::Initialize(&argc, argv);
  if (argc != 3) {
    std::cerr << "usage: vorn_bench TMPFS DISK [--benchmark_...]\n";
    return 2;
  }
  const bench::Folders folders{argv[1], argv[2]};
  std::string leftOut;
  for (const std::string& name : bench::LeftOut()) {
    leftOut += (leftOut.empty() ? "" : ", ") + name;
  }
  benchmark::AddCustomContext("left_out", leftOut);

  bench::RegisterOperations(folders);
  bench::RegisterSelects(folders);
  bench::RegisterReads(folders);
  bench::RegisterRequests();
  bench::RegisterLog();
  bench::RegisterLocks();
  bench::RegisterThreads(folders);
  const bool hasRun = benchmark::RunSpecifiedBenchmarks() > 0;
  benchmark::Shutdown();
  return hasRun ? 0 : 1;
}
