// Shows one of the sharp edges: guide_edges NAME

#include "Edges.h"

#include <exception>
#include <iostream>
#include <map>
#include <string>

namespace {

int Run(const std::string& name) {
  const std::map<std::string, void (*)()> edges = {
      {"lifetime", Lifetime},
      {"order", Order},
      {"first_value", FirstValue},
      {"texts", Texts},
      {"attack", Attack},
      {"doubles", Doubles},
      {"integers", Integers},
      {"conditions", Conditions},
      {"cut", Cut},
      {"one_column", OneColumn},
      {"equal_names", EqualNames},
      {"empty_cells", EmptyCells},
      {"result_zero", ResultZero},
      {"failed_open", FailedOpen},
      {"paths", Paths},
      {"exceptions", Exceptions},
  };
  const auto edge = edges.find(name);
  if (edge == edges.end()) {
    std::cerr << "usage: guide_edges NAME, one of";
    for (const auto& entry : edges) {
      std::cerr << ' ' << entry.first;
    }
    std::cerr << '\n';
    return 2;
  }
  edge->second();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc == 2 ? argv[1] : "");
  } catch (const std::exception& error) {
    std::cerr << "edges: " << error.what() << '\n';
    return 1;
  }
}
