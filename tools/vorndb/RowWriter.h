// Many rows for one table, each with an upsert of its own.

#ifndef VORNDB_ROWWRITER_H
#define VORNDB_ROWWRITER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "Commands.h"
#include "Signals.h"
#include "Terminal.h"

namespace vorndb {

// Shows its progress, and on a signal the number of rows that are written.
class RowWriter {
 public:
  // The table is that of the arguments. A total of 0 is unknown.
  RowWriter(const Arguments& arguments, std::uintmax_t total);

  // Writes a row. `done` is the part of the total up to its end, and `next` the way to go on
  // after it, for messages. Throws Failure.
  void Write(const Pairs& values, std::uintmax_t done, const std::string& next);

  // Ends the writing, and prints the number of rows. Throws Failure.
  void Finish();

  // Ends the writing with a failure, to which the number of rows and the way to go on are added.
  [[noreturn]] void Fail(const std::string& failure, const std::string& next);

 private:
  std::string Written(const std::string& next) const;
  // Returns the problem, or nothing.
  std::string End();
  void Interrupt();

  Arguments m_upsert;
  Progress m_progress;
  std::size_t m_count = 0;
  std::string m_next;
  SignalWatch m_watch;
};

}  // namespace vorndb

#endif  // VORNDB_ROWWRITER_H
