// Makes one read of a database file fail, below SQLite.

#ifndef VORN_TESTS_SUPPORT_READFAULT_H
#define VORN_TESTS_SUPPORT_READFAULT_H

class ReadFault {
 public:
  // The reads after the next `readsBefore` fail: one of them, or all.
  enum class Kind { kOnce, kAlways };
  ReadFault(int readsBefore, Kind kind);
  // Reads work again.
  ~ReadFault();
  ReadFault(const ReadFault&) = delete;
  ReadFault& operator=(const ReadFault&) = delete;

  // How many reads have failed.
  static int Failures();
};

#endif  // VORN_TESTS_SUPPORT_READFAULT_H
