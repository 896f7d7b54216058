// The terminal, if there is one.

#ifndef VORNDB_TERMINAL_H
#define VORNDB_TERMINAL_H

#include <cstddef>
#include <optional>
#include <string>

namespace vorndb {

// Its width in columns, if the file descriptor is one.
std::optional<std::size_t> TerminalWidth(int descriptor);

// Writes a message of the tool to standard error, on a line of its own.
void Tell(const std::string& message);

// Whether somebody can be asked.
bool CanAsk();

// Asks on standard error; true for an answer that begins with a "y".
bool Ask(const std::string& question);

}  // namespace vorndb

#endif  // VORNDB_TERMINAL_H
