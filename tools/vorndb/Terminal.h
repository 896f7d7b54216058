// The terminal, if there is one.

#ifndef VORNDB_TERMINAL_H
#define VORNDB_TERMINAL_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vorndb {

// Its width in columns, if the file descriptor is one.
std::optional<std::size_t> TerminalWidth(int descriptor);

// Writes a message of the tool to standard error, on a line of its own.
void Tell(const std::string& message);

// Asks on standard error; true for an answer that begins with a "y". Nothing if there is
// nobody to ask.
std::optional<bool> Ask(const std::string& question);

// A bar for what takes long.
class Progress {
 public:
  // Shows nothing for a total of 0, nor unless standard error is a terminal. A signal that
  // ends the process wipes the bar away first. There may be one at a time.
  explicit Progress(std::uintmax_t total);
  // Wipes the bar away.
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(std::uintmax_t done, std::size_t rows);

 private:
  std::uintmax_t m_total;
  std::optional<std::size_t> m_width;
  std::optional<std::size_t> m_shown;  // percent
};

}  // namespace vorndb

#endif  // VORNDB_TERMINAL_H
