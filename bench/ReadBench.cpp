#include <cstdlib>
#include <stdexcept>

#include "Bench.h"
#include "Library.h"
#include "Workload.h"

namespace bench {

namespace {

constexpr Shape kShape = {1000, 5, 1};
constexpr const char* kColumn = "uid";

// Walks over a column of numbers; `read` answers their sum or that of their lengths.
template <typename Read>
void Run(benchmark::State& state, double expected, Read read) {
  for (auto _ : state) {
    if (static_cast<double>(read()) != expected) {
      throw std::runtime_error("the values are not those of the column");
    }
  }
  state.SetItemsProcessed(state.iterations() * kShape.rows);
}

double SumOf(const std::vector<std::string>& cells) {
  double sum = 0;
  for (const std::string& cell : cells) {
    sum += std::strtod(cell.c_str(), nullptr);
  }
  return sum;
}

double LengthOf(const std::vector<std::string>& cells) {
  std::size_t length = 0;
  for (const std::string& cell : cells) {
    length += cell.size();
  }
  return static_cast<double>(length);
}

// By hand, on columns: finds the column and converts the cell, for every cell.
template <typename Sum, typename Convert>
Sum SumByHand(const Columns& columns, Convert convert) {
  Sum sum{};
  for (std::size_t row = 0; row < static_cast<std::size_t>(kShape.rows); ++row) {
    const auto column = columns.find(kColumn);
    if (column != columns.end() && row < column->second.size()) {
      sum += convert(column->second[row]);
    }
  }
  return sum;
}

void RunByHand(benchmark::State& state, const std::string& type) {
  const Columns columns = WholeResult(kShape);
  const std::vector<std::string>& cells = columns.at(kColumn);
  if (type == "text") {
    Run(state, LengthOf(cells), [&] {
      return SumByHand<std::size_t>(columns, [](const std::string& cell) {
        std::string value = cell;
        benchmark::DoNotOptimize(value);
        return value.size();
      });
    });
  } else if (type == "int") {
    Run(state, SumOf(cells), [&] {
      return SumByHand<long long>(columns, [](const std::string& cell) {
        return static_cast<int>(std::strtol(cell.c_str(), nullptr, 10));
      });
    });
  } else {
    Run(state, SumOf(cells), [&] {
      return SumByHand<double>(
          columns, [](const std::string& cell) { return std::strtod(cell.c_str(), nullptr); });
    });
  }
}

void RunLibrary(benchmark::State& state, const NamedLibrary& named, const std::string& folder,
                const std::string& type) {
  const std::unique_ptr<Library> library = named.make();
  library->SelectAll(WholeTable(folder, kShape), kWholeTable);
  const std::vector<std::string> cells = WholeResult(kShape)[kColumn];
  if (type == "text") {
    Run(state, LengthOf(cells), [&] { return library->ReadTexts(kColumn); });
  } else if (type == "int") {
    Run(state, SumOf(cells), [&] { return library->ReadInts(kColumn); });
  } else {
    Run(state, SumOf(cells), [&] { return library->ReadDoubles(kColumn); });
  }
}

}  // namespace

void RegisterReads(const Folders& folders) {
  for (const std::string type : {"text", "int", "double"}) {
    benchmark::RegisterBenchmark(("raw/read/" + type).c_str(), [type](benchmark::State& state) {
      ReportErrors(state, [&] { RunByHand(state, type); });
    });
    for (const NamedLibrary& named : Libraries()) {
      benchmark::RegisterBenchmark((named.name + "/read/" + type).c_str(),
                                   [named, folder = folders.tmpfs, type](benchmark::State& state) {
                                     ReportErrors(state,
                                                  [&] { RunLibrary(state, named, folder, type); });
                                   });
    }
  }
}

}  // namespace bench
