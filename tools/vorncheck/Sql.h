// Names and values as they appear in a statement.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_SQL_H
#define VORNDATABASE_TOOLS_VORNCHECK_SQL_H

#include <cstddef>
#include <string>

namespace vorncheck {

// The position of the first single quote that is not doubled, or npos.
std::size_t LoneQuote(const std::string& text);

// The position of a quote in a name that is not closed, or npos.
std::size_t OpenQuote(const std::string& name);

// The fault of a table or column name, which may be qualified, as in main.contact. Null if all
// parts are plain identifiers or in double quotes.
const char* FaultOf(const std::string& name);

// SQLite takes names that differ in ASCII case for the same.
std::string LowerCase(std::string name);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_SQL_H
