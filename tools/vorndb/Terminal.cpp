#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "Text.h"

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

std::optional<std::size_t> TerminalWidth(int descriptor) {
  constexpr std::size_t kUsual = 80;
  if (isatty(descriptor) == 0) {
    return std::nullopt;
  }
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return kUsual;
  }
  return size.ws_col;
}

void Tell(const std::string& message) { std::cerr << "vorndb: " + Printable(message) + '\n'; }

std::optional<bool> Ask(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    return std::nullopt;
  }
  std::cerr << Printable(question) + " [y/N] ";
  std::string answer;
  if (!std::getline(std::cin, answer)) {
    // Nobody has ended the line.
    std::cerr << '\n';
  }
  return !answer.empty() && (answer.front() == 'y' || answer.front() == 'Y');
}

Progress::Progress(std::uintmax_t total)
    : m_total(total), m_width(total > 0 ? TerminalWidth(STDERR_FILENO) : std::nullopt) {
  if (m_width) {
    TheWipe() = '\r' + std::string(*m_width - 1, ' ') + '\r';
    ReplaceHandlers(SIG_DFL, WipeAndEnd);
  }
}

Progress::~Progress() {
  if (m_shown) {
    std::cerr << TheWipe();
  }
  if (m_width) {
    ReplaceHandlers(WipeAndEnd, SIG_DFL);
  }
}

void Progress::Show(std::uintmax_t done, std::size_t rows) {
  constexpr std::size_t kWhole = 100;
  constexpr std::size_t kLongest = 50;
  if (!m_width) {
    return;
  }
  const auto percent = static_cast<std::size_t>(std::min(done, m_total) * kWhole / m_total);
  if (m_shown == percent) {
    return;
  }
  m_shown = percent;
  const std::string text = ' ' + std::to_string(percent) + " %, " + std::to_string(rows) + " rows";
  // The last column stays free: to write there wraps some terminals.
  const std::size_t frame = text.size() + 3;
  const std::size_t length = std::min(kLongest, *m_width > frame ? *m_width - frame : 0);
  std::string line = '[' + std::string(length * percent / kWhole, '#');
  line.resize(length + 1, ' ');
  line += ']' + text;
  line.resize(std::min(line.size(), *m_width - 1));
  std::cerr << '\r' + line;
}

}  // namespace vorndb
