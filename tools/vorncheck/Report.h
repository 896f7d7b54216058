// The findings, their output and the summary.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_REPORT_H
#define VORNDATABASE_TOOLS_VORNCHECK_REPORT_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "Aside.h"
#include "Kinds.h"
#include "Stack.h"

namespace vorncheck {

struct Finding {
  explicit Finding(std::string text) : sentence(std::move(text)) {}

  std::string sentence;
  std::vector<std::pair<std::string, Stack>> stacks;  // with a heading each
  std::string excerpt;                                // of a statement
  std::size_t mark = std::string::npos;               // the place in the excerpt to point at
};

// Whether findings of a kind are wanted at all.
bool IsOn(Kind kind);

// Whether the next finding of a kind at a call site would be seen. If not, it is counted.
bool IsWanted(Kind kind, const void* site);

// Counts a finding and writes it, unless it is suppressed.
void Write(Kind kind, const void* site, const Finding& finding);

// Reports a finding that `make` returns, if it is wanted.
template <typename Make>
void Report(Kind kind, const void* site, Make make) {
  Aside([&] {
    if (IsWanted(kind, site)) {
      Write(kind, site, make());
    }
  });
}

// Adds an operation to the summary.
void CountOperation(std::chrono::nanoseconds waited);

constexpr double Seconds(std::chrono::nanoseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

// The limit of --main-thread.
std::chrono::milliseconds MainThreadLimit();

// A string of the program for a sentence, in quotes, printable and not too long.
std::string Shown(const std::string& text);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_REPORT_H
