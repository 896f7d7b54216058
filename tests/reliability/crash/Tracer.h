// Runs a child process from one boundary of a system call to the next.

#ifndef VORN_TESTS_CRASH_TRACER_H
#define VORN_TESTS_CRASH_TRACER_H

#include <sys/types.h>

#include <string>

// In the parent, of a child that calls the functions below.
class Tracer {
 public:
  // Why no child can be traced here; empty when one can.
  static std::string Obstacle();

  // Waits until the child begins its traced part.
  explicit Tracer(pid_t child);

  // Lets the child run to its next entry into a system call or exit from one. False
  // when its traced part is over. Either way the child stands still.
  bool RunToBoundary();

 private:
  int WaitForStop() const;

  const pid_t m_child;
};

// In the child, around the part that is traced.
void BeginTraced();
void EndTraced();

#endif  // VORN_TESTS_CRASH_TRACER_H
