// The completion of a command line, for the scripts of the shells.

#ifndef VORNDB_COMPLETION_H
#define VORNDB_COMPLETION_H

#include <string>
#include <vector>

namespace vorndb {

struct Arguments;

// The candidates for a value of the option or argument of that name, of which `word` is the
// beginning; none for a file, or for any text. Only plain names can be given to the tool, and a
// shell would run other texts.
std::vector<std::string> Candidates(const std::string& name, const Arguments& arguments,
                                    const std::string& word);

}  // namespace vorndb

#endif  // VORNDB_COMPLETION_H
