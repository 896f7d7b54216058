// The terminal, if there is one, and texts as it shows them.

#ifndef VORNDB_TERMINAL_H
#define VORNDB_TERMINAL_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorndb {

// The text without anything that would act on a terminal instead of being shown: control
// characters and changes of direction are written as escapes, bytes that are no UTF-8 as
// U+FFFD. The kept characters stay.
std::string Printable(const std::string& text, std::string_view kept = "");

// "1 NOUN", "2 NOUNs".
std::string Counted(std::size_t count, const std::string& noun);

// The number of columns that a printable text takes on a terminal: two for wide
// characters, none for combining ones.
std::size_t DisplayWidth(const std::string& text);

// A printable text, cut to that width at most, with an ellipsis at the cut.
std::string CutToWidth(const std::string& text, std::size_t width);

// Its width in columns, if the file descriptor is one.
std::optional<std::size_t> TerminalWidth(int descriptor);

// Writes a message of the tool to standard error, on a line of its own, after the output so far.
void PrintMessage(const std::string& message);

// Asks on standard error; true for an answer that begins with a "y". Nothing if there is
// nobody to ask.
std::optional<bool> Ask(const std::string& question);

// The progress of a long command on a terminal. In the end it is wiped away.
class Progress {
 public:
  // A total of 0 is unknown. Shows nothing unless standard error is a terminal.
  Progress(std::uintmax_t total, bool isShown);
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(std::uintmax_t done, std::size_t rows);

 private:
  using Clock = std::chrono::steady_clock;

  std::uintmax_t m_total;
  std::optional<std::size_t> m_width;
  Clock::time_point m_begin = Clock::now();
  std::optional<Clock::time_point> m_drawn;
};

}  // namespace vorndb

#endif  // VORNDB_TERMINAL_H
