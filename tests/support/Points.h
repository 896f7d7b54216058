// Counts the points at which a program's tests have failed something, and prints the table
// when it ends.

#ifndef VORN_TESTS_SUPPORT_POINTS_H
#define VORN_TESTS_SUPPORT_POINTS_H

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <string>

namespace points {

class Table : public ::testing::Environment {
 public:
  int& Count(const std::string& subject, const std::string& kind) {
    return m_counts[subject][kind];
  }

  void TearDown() override {
    int total = 0;
    for (const auto& [subject, kinds] : m_counts) {
      std::cout << "[  POINTS  ] " << subject << ":";
      for (const auto& [kind, count] : kinds) {
        std::cout << " " << kind << " " << count << ";";
        total += count;
      }
      std::cout << "\n";
    }
    std::cout << "[  POINTS  ] " << total << " in all\n";
  }

 private:
  std::map<std::string, std::map<std::string, int>> m_counts;
};

// The points of one subject, such as "Upsert", and one kind of failure.
inline int& Count(const std::string& subject, const std::string& kind) {
  static auto* const table =
      static_cast<Table*>(::testing::AddGlobalTestEnvironment(new Table));  // which owns it
  return table->Count(subject, kind);
}

}  // namespace points

#endif  // VORN_TESTS_SUPPORT_POINTS_H
