#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>

#include "Terminal.h"

namespace vorndb {

namespace {

// Wipes the bar away, also for a signal: there is one terminal, and one bar on it.
std::string& TheWipe() {
  static std::string wipe;
  return wipe;
}

extern "C" void WipeAndEnd(int number) {
  const std::string& wipe = TheWipe();
  static_cast<void>(write(STDERR_FILENO, wipe.data(), wipe.size()) == 0);
  // By now it has its usual effect again.
  static_cast<void>(raise(number));
}

// A signal with another handler keeps it; one may be ignored, as for a background job.
void ReplaceHandlers(void (*expected)(int), void (*handler)(int)) {
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == expected) {
      action.sa_handler = handler;
      action.sa_flags = static_cast<int>(SA_RESETHAND);
      static_cast<void>(sigaction(number, &action, nullptr));
    }
  }
}

}  // namespace

Progress::Progress(std::uintmax_t total)
    : m_total(total), m_width(total > 0 ? TerminalWidth(STDERR_FILENO) : std::nullopt) {
  if (m_width) {
    TheWipe() = '\r' + std::string(*m_width - 1, ' ') + '\r';
    ReplaceHandlers(SIG_DFL, WipeAndEnd);
  }
}

Progress::~Progress() {
  if (m_shown >= 0) {
    std::cerr << TheWipe();
  }
  if (m_width) {
    ReplaceHandlers(WipeAndEnd, SIG_DFL);
  }
}

void Progress::Show(std::uintmax_t done, std::size_t rows) {
  constexpr int kWhole = 100;
  if (!m_width) {
    return;
  }
  const int percent = static_cast<int>(std::min(done, m_total) * kWhole / m_total);
  if (percent != m_shown) {
    m_shown = percent;
    Draw(percent, rows);
  }
}

void Progress::Draw(int percent, std::size_t rows) const {
  constexpr std::size_t kWhole = 100;
  constexpr std::size_t kLongest = 50;
  const std::string text = ' ' + std::to_string(percent) + " %, " + std::to_string(rows) + " rows";
  // The last column stays free: to write there wraps some terminals.
  const std::size_t frame = text.size() + 3;
  const std::size_t length = std::min(kLongest, *m_width > frame ? *m_width - frame : 0);
  const std::size_t filled = length * static_cast<std::size_t>(percent) / kWhole;
  std::string line =
      '[' + std::string(filled, '#') + std::string(length - filled, ' ') + ']' + text;
  line.resize(std::min(line.size(), *m_width - 1));
  std::cerr << '\r' + line;
}

}  // namespace vorndb
