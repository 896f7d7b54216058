#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "Terminal.h"

namespace vorndb {

Progress::Progress(std::uintmax_t total, bool wanted)
    : m_total(total), m_width(wanted && total > 0 ? TerminalWidth(STDERR_FILENO) : std::nullopt) {}

Progress::~Progress() {
  if (m_shown >= 0) {
    std::cerr << '\r' << std::string(*m_width - 1, ' ') << '\r' << std::flush;
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
  std::cerr << '\r' << line << std::flush;
}

}  // namespace vorndb
