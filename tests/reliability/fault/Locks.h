// What becomes of the named locks.

#ifndef VORN_TESTS_FAULT_LOCKS_H
#define VORN_TESTS_FAULT_LOCKS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Journal.h"

// Every lock was made, taken, released and destroyed; an exception leaves out the
// release of the one that it met. Answers whether it met one.
inline bool JudgeLocks(bool threw) {
  std::vector<std::string> verbs;
  for (const std::string& event : journal::Of({journal::Kind::kMutex})) {
    verbs.push_back(event.substr(0, event.find(' ')));
  }
  const std::vector<std::string> whole = {"make", "lock", "unlock", "destroy"};
  const std::vector<std::string> interrupted = {"make", "lock", "destroy"};
  while (verbs.size() >= 4 && std::equal(whole.begin(), whole.end(), verbs.begin())) {
    verbs.erase(verbs.begin(), verbs.begin() + 4);
  }
  if (verbs.empty()) {
    return false;
  }
  EXPECT_TRUE(threw) << "an operation returned and left a lock taken";
  EXPECT_EQ(interrupted, verbs);
  return true;
}

#endif  // VORN_TESTS_FAULT_LOCKS_H
