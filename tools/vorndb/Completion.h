// The completion of a command line, for the scripts of the shells.

#ifndef VORNDB_COMPLETION_H
#define VORNDB_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace vorndb {

// The names of all commands, and of the long options of one and of all.
std::vector<std::string> CommandNames(const CLI::App& app);
std::vector<std::string> OptionNames(const CLI::App& command, const CLI::App& app);

// The candidates for a word that follows other words, without those of another beginning; none
// where a file is expected, or any text. A file that comes without an option has one here.
std::vector<std::string> Candidates(const CLI::App& app, const std::vector<std::string>& words,
                                    const std::string& word);

}  // namespace vorndb

#endif  // VORNDB_COMPLETION_H
