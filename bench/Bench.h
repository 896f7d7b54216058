// What is measured, one source a subject. Benchmarks are named after the contender
// and what it does, such as "raw/select/rows:100/columns:5/tables:1".

#ifndef VORNDATABASE_BENCH_BENCH_H
#define VORNDATABASE_BENCH_BENCH_H

#include <benchmark/benchmark.h>

#include <exception>
#include <string>

#include "Contender.h"

namespace bench {

// Where files are made.
struct Folders {
  std::string tmpfs;
  std::string disk;
};

// Each registers its benchmarks.
void RegisterOperations(const Folders& folders);
void RegisterSelects(const Folders& folders);
void RegisterReads(const Folders& folders);
void RegisterRequests();
void RegisterLog();
void RegisterLocks();
void RegisterThreads(const Folders& folders);

// Turns what is thrown into the benchmark's error.
template <typename Run>
void ReportErrors(benchmark::State& state, Run run) {
  try {
    run();
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

}  // namespace bench

#endif  // VORNDATABASE_BENCH_BENCH_H
