// A bar on the terminal for what takes long.

#ifndef VORNDB_PROGRESS_H
#define VORNDB_PROGRESS_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vorndb {

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
  void Draw(int percent, std::size_t rows) const;

  std::uintmax_t m_total;
  std::optional<std::size_t> m_width;
  int m_shown = -1;
};

}  // namespace vorndb

#endif  // VORNDB_PROGRESS_H
