// The findings, their output and the summary. The functions are called in a check.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_REPORT_H
#define VORNDATABASE_TOOLS_VORNCHECK_REPORT_H

#include <bitset>
#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Kinds.h"
#include "Stack.h"

namespace vorncheck {

// Each option is an environment variable: --quiet-after is VORNCHECK_QUIET_AFTER.
struct Options {
  std::bitset<kKindCount> kinds;  // that are on
  bool isFatal;
  int status;
  int quietAfter;
  int mainThread;                         // milliseconds
  std::string json;                       // a path, or empty
  std::vector<std::string> suppressions;  // patterns of an identifier, a blank and a function
};

// The options, read when they are first needed. Ends the program if one is wrong.
const Options& TheOptions();

// With a heading each.
using Stacks = std::vector<std::pair<const char*, Stack>>;

struct Finding {
  Kind kind;
  const void* site;
  std::string sentence;
  Stacks stacks = {};  // of other calls
  std::string excerpt = {};
  std::size_t mark = 0;  // the place in the excerpt to point at
  long thread = 0;
};

// Queues a finding of this thread, which is written after the check unless it is suppressed.
void Report(Finding finding);

// Ends a check: unlocks its mutex, then writes its findings. Other threads are not blocked
// meanwhile.
void UnlockAndWrite() noexcept;

// Held while findings are written. The lock order is this one, then CheckMutex().
std::mutex& WriteMutex();

// Adds an operation to the summary.
void CountOperation(std::chrono::nanoseconds waited);

// The summary is written at exit.
void BeginReport();

// A child that was forked has a summary of its own.
void ForgetCounts();

template <typename... Values>
std::string Text(const Values&... values) {
  std::ostringstream text;
  (text << ... << values);
  return text.str();
}

// Reports a sentence about one call.
template <typename... Values>
void Report(Kind kind, const void* site, const Values&... sentence) {
  Report({kind, site, Text(sentence...)});
}

// Reads a text that is one number, perhaps between blanks.
template <typename Number>
bool IsWhole(const std::string& text, Number& number) {
  std::istringstream stream(text);
  return !(stream >> number).fail() && (stream >> std::ws).eof();
}

// A string of the program for a sentence, in quotes, printable and not too long.
std::string Shown(const std::string& text);

// Such as "0.100 s".
std::string Shown(std::chrono::nanoseconds duration);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_REPORT_H
