// Lets an operation fail at every point where it can, and judges what it leaves.

#ifndef VORN_TESTS_RELIABILITY_FAULT_SWEEP_H
#define VORN_TESTS_RELIABILITY_FAULT_SWEEP_H

#include <string>

#include "FaultPoint.h"
#include "Operations.h"

// Something that can be made to fail at a point of a run.
struct Fault {
  std::string kind;  // of sweep
  std::string call;  // that fails
  FaultPoint& point;
  bool isOwnMemory = false;  // the library's, so that the operation throws
  bool protectsLog = false;  // lines take the path that builds texts
  // A write may report a failure although it is done: what failed came after.
  bool mayComeAfterEffect = false;
};

// What an operation finds: its file, closed in order; with the journal of a write
// that was interrupted, which it has to roll back first; one that shrinks when rows
// go, which the library never makes itself; or no file.
enum class Found { kFile, kHotJournal, kAutoVacuum, kNoFile };

// Fails the operation's first such call, its second, and so on; each alone, and each with all
// that follow. Answers how many points there are, of which VORN_TEST_STRIDE leaves some out.
int SweepOver(const operations::Operation& operation, const Fault& fault,
              Found found = Found::kFile);

#endif  // VORN_TESTS_RELIABILITY_FAULT_SWEEP_H
