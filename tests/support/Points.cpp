#include "Points.h"

#include <gtest/gtest.h>

#include <iostream>
#include <map>

namespace points {

namespace {

class Table : public ::testing::Environment {
 public:
  void Add(const std::string& subject, const std::string& kind, int count) {
    m_counts[subject][kind] += count;
  }

  void TearDown() override {
    int total = 0;
    for (const auto& [subject, kinds] : m_counts) {
      std::cout << "[  POINTS  ] " << subject << ":";
      const char* separator = " ";
      for (const auto& [kind, count] : kinds) {
        std::cout << separator << kind << " " << count;
        separator = ", ";
        total += count;
      }
      std::cout << "\n";
    }
    std::cout << "[  POINTS  ] " << total << " in all\n";
  }

 private:
  std::map<std::string, std::map<std::string, int>> m_counts;
};

Table* const kTable = [] {
  auto* const table = new Table;
  ::testing::AddGlobalTestEnvironment(table);  // which owns it
  return table;
}();

}  // namespace

void Add(const std::string& subject, const std::string& kind, int count) {
  kTable->Add(subject, kind, count);
}

}  // namespace points
