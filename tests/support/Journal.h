// The order of events that the fakes see: log lines, lock events, waits and calls
// into SQLite, in one list, so that a test can ask for the order across them.

#ifndef VORN_TESTS_SUPPORT_JOURNAL_H
#define VORN_TESTS_SUPPORT_JOURNAL_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace journal {

enum class Kind { kFormat, kLog, kLogger, kMutex, kSleep, kSqlite };

void Clear();
void Add(Kind kind, const std::string& text);

// Is told of every event when it is added, until Clear(): for what a test has to do at
// that moment. A call into SQLite is added before it is made.
using Listener = std::function<void(Kind kind, const std::string& text)>;
void Listen(Listener listener);

// The texts of the events of these kinds, in their order.
std::vector<std::string> Of(std::initializer_list<Kind> kinds);

}  // namespace journal

#endif  // VORN_TESTS_SUPPORT_JOURNAL_H
