#include <stdexcept>

#include "Bench.h"
#include "Workload.h"

namespace bench {

namespace {

// Opens the file, reads the whole table, closes the file and releases the result.
void SelectWhole(benchmark::State& state, const NamedContender& named, const std::string& folder,
                 const Shape& shape) {
  ReportErrors(state, [&] {
    const Place place = WholeTable(folder, shape);
    const std::unique_ptr<Contender> contender = named.make();
    contender->SelectAll(place, kWholeTable);
    if (HashOf(contender->Result()) != WholeHash(shape)) {
      throw std::runtime_error("the cells are not those of the table");
    }
    contender->Release();
    for (auto _ : state) {
      contender->SelectAll(place, kWholeTable);
      contender->Release();
    }
  });
  state.SetItemsProcessed(state.iterations() * shape.rows * shape.columns);
}

void RegisterSelect(const std::string& folder, const Shape& shape) {
  for (const NamedContender& named : Contenders()) {
    const std::string name = named.name + "/select/rows:" + std::to_string(shape.rows) +
                             "/columns:" + std::to_string(shape.columns) +
                             "/tables:" + std::to_string(shape.tables);
    benchmark::RegisterBenchmark(name.c_str(), [named, folder, shape](benchmark::State& state) {
      SelectWhole(state, named, folder, shape);
    })->UseRealTime();
  }
}

}  // namespace

void RegisterSelects(const Folders& folders) {
  for (const int columns : {2, 5, 20}) {
    for (const int rows : {1, 10, 100, 1000, 10000, 100000}) {
      RegisterSelect(folders.tmpfs, {rows, columns, 1});
    }
  }
  for (const int tables : {10, 100}) {
    for (const int rows : {1, 10000}) {
      RegisterSelect(folders.tmpfs, {rows, 5, tables});
    }
  }
}

}  // namespace bench
