#include "Bench.h"
#include "Library.h"

namespace bench {

namespace {

std::vector<std::string> ColumnNames(int count) {
  std::vector<std::string> names;
  for (int column = 0; column < count; ++column) {
    names.push_back("column" + std::to_string(column));
  }
  return names;
}

// Makes a request, fills and releases it.
void Register(const std::string& type, int values,
              void (Library::*fill)(const std::vector<std::string>&)) {
  for (const NamedLibrary& named : Libraries()) {
    const std::string name = named.name + "/fill/" + type + "/values:" + std::to_string(values);
    benchmark::RegisterBenchmark(name.c_str(), [named, values, fill](benchmark::State& state) {
      const std::unique_ptr<Library> library = named.make();
      const std::vector<std::string> columns = ColumnNames(values);
      for (auto _ : state) {
        (*library.*fill)(columns);
      }
      state.SetItemsProcessed(state.iterations() * values);
    });
  }
}

}  // namespace

void RegisterRequests() {
  for (const int values : {1, 10, 100, 1000}) {
    Register("text", values, &Library::FillTexts);
    Register("int", values, &Library::FillInts);
    Register("double", values, &Library::FillDoubles);
  }
}

}  // namespace bench
