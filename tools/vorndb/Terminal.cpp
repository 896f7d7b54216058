#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

#include "Text.h"

namespace vorndb {

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

bool CanAsk() { return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0; }

bool Ask(const std::string& question) {
  std::cerr << Printable(question) + " [y/N] ";
  std::string answer;
  if (!std::getline(std::cin, answer)) {
    // Nobody has ended the line.
    std::cerr << '\n';
  }
  return !answer.empty() && (answer.front() == 'y' || answer.front() == 'Y');
}

}  // namespace vorndb
