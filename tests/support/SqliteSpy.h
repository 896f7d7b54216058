// Test doubles of SQLite's functions. Each call of the library is added to the journal. A test can
// replace its result.

#ifndef VORN_TESTS_SUPPORT_SQLITESPY_H
#define VORN_TESTS_SUPPORT_SQLITESPY_H

#include <sqlite3.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sqlite_spy {

// What becomes of one call.
struct Step {
  bool callsReal;
  std::optional<int> answer;
};

// Call the real function and hand on its result.
Step Real();
// Answer in its place; for the functions that return a text, 0 is null.
Step Answer(int result);
// Call the real function, then give another result.
Step RealButAnswer(int result);

// Sets the steps of the coming calls of a function, such as "sqlite3_step"; the
// calls after them are real.
void Script(const std::string& function, std::vector<Step> steps);
// The same step `count` times.
void Script(const std::string& function, int count, Step step);

// The text that sqlite3_errmsg gives, and that a scripted sqlite3_exec stores;
// unset, the former is real and the latter stores null.
void SetErrorText(std::string text);

// The calls as "name(arguments)", in their order; those that SQLite makes to its
// own functions are not among them.
std::vector<std::string> Calls();
int CountCalls(const std::string& function);

// What came back from each of these calls.
struct Reply {
  std::string function, call;
  int result;                       // 0 where there is none
  std::optional<std::string> text;  // of functions that give one, unless it is null
  bool hasHandle;                   // of an open: whether there is a connection
};
std::vector<Reply> Replies();

// Sees what the calls that return a number answer, as soon as they do.
void SetObserver(std::function<void(const std::string& function, int result)> observer);

// Connections that were opened and not closed, and statements likewise.
std::vector<sqlite3*> OpenConnections();
std::vector<sqlite3_stmt*> OpenStatements();
// Closes the connections that are left open on purpose.
void CloseConnections();

// Error texts that sqlite3_exec gave and that were not freed.
std::vector<char*> HeldErrorTexts();
// Frees those that are left on purpose.
void FreeErrorTexts();

// How many blocks of memory SQLite has taken and not returned.
int MemoryBlocks();

// Forgets scripts, calls, observer and error text. Open handles and held texts stay known.
void Reset();

}  // namespace sqlite_spy

#endif  // VORN_TESTS_SUPPORT_SQLITESPY_H
