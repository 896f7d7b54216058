// Makes one read of a database file fail, below SQLite.

#ifndef VORN_TESTS_SUPPORT_READFAULT_H
#define VORN_TESTS_SUPPORT_READFAULT_H

#include "FaultPoint.h"

class ReadFault {
 public:
  using Kind = FaultPoint::Kind;
  // The read after the next `readsBefore` fails: it alone, or all that follow, too.
  ReadFault(int readsBefore, Kind kind);
  // Reads work again.
  ~ReadFault();
  ReadFault(const ReadFault&) = delete;
  ReadFault& operator=(const ReadFault&) = delete;

  // How many reads have failed.
  static int Failures();
};

#endif  // VORN_TESTS_SUPPORT_READFAULT_H
