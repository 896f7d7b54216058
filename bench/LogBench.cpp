#include <VornLogger.h>

#include "Bench.h"
#include "Library.h"

namespace bench {

namespace {

// One line, which is not written: what the log does with it is another matter.
void Run(benchmark::State& state, const NamedLibrary& named, bool isProtected) {
  const std::unique_ptr<Library> library = named.make();
  VornLogger::GetInstance()->SetEncryptionFlag(isProtected);
  for (auto _ : state) {
    library->Trace();
  }
  VornLogger::GetInstance()->SetEncryptionFlag(false);
}

}  // namespace

void RegisterLog() {
  for (const NamedLibrary& named : Libraries()) {
    benchmark::RegisterBenchmark((named.name + "/log/direct").c_str(),
                                 [named](benchmark::State& state) { Run(state, named, false); });
  }
  benchmark::RegisterBenchmark(
      "vorn/log/protected", [](benchmark::State& state) { Run(state, Libraries().front(), true); });
}

}  // namespace bench
