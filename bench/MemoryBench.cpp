// vorn_bench_memory FOLDER prints the heap use of each contender for a query of a whole table:
// lines of contender, rows, columns, allocations, bytes, peak.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "Contender.h"
#include "HeapCounter.h"
#include "Workload.h"

namespace bench {

namespace {

void Report(const NamedContender& named, const std::string& folder, const Shape& shape) {
  const Place place = WholeTable(folder, shape);
  const std::unique_ptr<Contender> contender = named.make();
  // Once before, for what is taken once in a process.
  contender->SelectAll(place, kWholeTable);
  if (HashOf(contender->Result()) != HashOf(WholeResult(shape))) {
    throw std::runtime_error(named.name + ": the cells are not those of the table");
  }
  contender->Release();

  StartCounting();
  contender->SelectAll(place, kWholeTable);
  contender->Release();
  const HeapUse use = StopCounting();
  std::cout << named.name << '\t' << shape.rows << '\t' << shape.columns << '\t' << use.allocations
            << '\t' << use.bytes << '\t' << use.peak << '\n';
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  setenv("VORN_DLOG_PRIORITY", "S", 0);  // the log is silent by default
  if (argc != 2) {
    std::cerr << "usage: vorn_bench_memory FOLDER\n";
    return 2;
  }
  try {
    for (const bench::Shape& shape : {bench::Shape{1, 5, 1}, bench::Shape{10000, 5, 1}}) {
      for (const bench::NamedContender& named : bench::Contenders()) {
        bench::Report(named, argv[1], shape);
      }
    }
  } catch (const std::exception& error) {
    std::cerr << "vorn_bench_memory: " << error.what() << '\n';
    return 1;
  }
}
