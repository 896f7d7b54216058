#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <utf8proc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace vorndb {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr char kEllipsis[] = "\xE2\x80\xA6";

// The code of the character at a position, or -1 for a byte that is no UTF-8. The position is moved
// behind it.
utf8proc_int32_t Next(const std::string& text, std::size_t& position) {
  utf8proc_int32_t code = -1;
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data() + position);
  const utf8proc_ssize_t length =
      utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - position), &code);
  position += length > 0 ? static_cast<std::size_t>(length) : 1;
  return code;
}

// Controls, line and paragraph separators, and changes of direction.
bool IsActing(utf8proc_int32_t code) {
  const utf8proc_category_t category = utf8proc_category(code);
  return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069) || code == 0x200E || code == 0x200F || code == 0x61C;
}

std::string Escape(utf8proc_int32_t code) {
  constexpr std::string_view kNamed = "\n\r\t";
  if (const std::size_t name = kNamed.find(static_cast<char>(code)); code < 0x80 && name < 3) {
    return std::string("\\") + "nrt"[name];
  }
  char text[16];
  static_cast<void>(std::snprintf(text, sizeof text, code < 0x100 ? "\\x%02X" : "\\u%04X",
                                  static_cast<unsigned>(code)));
  return text;
}

}  // namespace

std::string Printable(const std::string& text, std::string_view kept) {
  std::string printable;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t begin = position;
    const utf8proc_int32_t code = Next(text, position);
    if (code < 0) {
      printable += kReplacement;
    } else if (IsActing(code) && kept.find(text[begin]) == std::string_view::npos) {
      printable += Escape(code);
    } else {
      printable.append(text, begin, position - begin);
    }
  }
  return printable;
}

std::string Counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::size_t DisplayWidth(const std::string& text) {
  int width = 0;
  for (std::size_t position = 0; position < text.size();) {
    width += utf8proc_charwidth(Next(text, position));
  }
  return static_cast<std::size_t>(width);
}

std::string CutToWidth(const std::string& text, std::size_t width) {
  std::size_t end = 0;
  std::size_t position = 0;
  std::size_t taken = 0;
  while (position < text.size() && taken <= width) {
    // The ellipsis takes a column of its own.
    end = taken < width ? position : end;
    taken += static_cast<std::size_t>(utf8proc_charwidth(Next(text, position)));
  }
  return taken <= width ? text : text.substr(0, end) + kEllipsis;
}

std::optional<std::size_t> TerminalWidth(int descriptor) {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0) {
    return std::nullopt;
  }
  return size.ws_col == 0 ? kUsual : size.ws_col;
}

void PrintMessage(const std::string& message) {
  std::cout.flush();
  std::cerr << "vorndb: " + Printable(message) + '\n';
}

std::optional<bool> Ask(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    return std::nullopt;
  }
  std::cerr << Printable(question) + " [y/N] ";
  std::string answer;
  if (!std::getline(std::cin, answer)) {
    std::cerr << '\n';  // nobody has ended the line
  }
  return !answer.empty() && (answer.front() == 'y' || answer.front() == 'Y');
}

Progress::Progress(std::uintmax_t total, bool isShown)
    : m_total(total), m_width(isShown ? TerminalWidth(STDERR_FILENO) : std::nullopt) {}

Progress::~Progress() {
  if (m_drawn) {
    std::cerr << '\r' + std::string(*m_width - 1, ' ') + '\r';
  }
}

void Progress::Show(std::uintmax_t done, std::size_t rows) {
  constexpr std::chrono::milliseconds kInterval(200);
  const auto now = Clock::now();
  if (!m_width || (m_drawn && now - *m_drawn < kInterval)) {
    return;
  }
  m_drawn = now;
  const double seconds = std::chrono::duration<double>(now - m_begin).count();
  const long speed = std::lround(static_cast<double>(rows) / seconds);
  std::string line = Counted(rows, "row") + ", " + std::to_string(speed) + " rows/s";
  if (m_total > 0) {
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(m_total));
    line = std::to_string(static_cast<int>(part * 100)) + " %, " + line + ", " +
           std::to_string(std::lround(seconds / part - seconds)) + " s left";
  }
  // The last column stays free: to write there wraps some terminals.
  line.resize(*m_width - 1, ' ');
  std::cerr << '\r' + line;
}

}  // namespace vorndb
