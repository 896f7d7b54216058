#include "SqliteSpy.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "HeapPause.h"
#include "Journal.h"

namespace sqlite_spy {

namespace {

std::map<std::string, std::deque<Step>> scripts;
std::optional<std::string> errorText;
std::vector<Reply> replies;
std::function<void(const std::string&, int)> observe;
std::vector<sqlite3*> connections;
std::vector<sqlite3_stmt*> statements;
std::vector<char*> errorTexts;

// The tests' own calls, and SQLite's calls to itself, pass through here too. They are
// many, and dladdr would look up a symbol for each.
bool IsFromLibrary(const void* caller) {
  static const link_map* library = nullptr;
  dl_find_object object;
  if (_dl_find_object(const_cast<void*>(caller), &object) != 0) {
    return false;
  }
  if (library == nullptr &&
      std::strstr(object.dlfo_link_map->l_name, "libvorndatabase.so") != nullptr) {
    library = object.dlfo_link_map;
  }
  return object.dlfo_link_map == library;
}

template <typename Function>
Function* RealFunction(const char* name, Function* /*prototype*/) {
  void* const symbol = dlsym(RTLD_NEXT, name);
  return symbol != nullptr ? reinterpret_cast<Function*>(symbol) : throw std::logic_error(name);
}

std::optional<std::string> TextOrNone(const char* text) {
  return text == nullptr ? std::nullopt : std::make_optional<std::string>(text);
}

Step Next(const std::string& function) {
  auto& steps = scripts[function];
  if (steps.empty()) {
    return Real();
  }
  const Step step = steps.front();
  steps.pop_front();
  return step;
}

Reply& Note(const std::string& function, const std::string& arguments) {
  replies.push_back({function, function + "(" + arguments + ")", 0, std::nullopt, false});
  journal::Add(journal::Kind::kSqlite, replies.back().call);
  return replies.back();
}

template <typename Handle>
void Remove(std::vector<Handle>& handles, Handle handle) {
  handles.erase(std::remove(handles.begin(), handles.end(), handle), handles.end());
}

// Runs one call as its script says: `real` makes it, `function` names it. Of the texts, only
// null can be scripted.
template <typename RealCall>
auto Run(const std::string& function, const std::string& arguments, RealCall real) {
  Reply& reply = Note(function, arguments);
  const Step step = Next(function);
  auto result = step.callsReal ? real() : decltype(real()){};
  if constexpr (std::is_pointer_v<decltype(real())>) {
    result = step.answer ? nullptr : result;
    reply.text = TextOrNone(reinterpret_cast<const char*>(result));
  } else {
    result = step.answer.value_or(result);
    reply.result = result;
    if (observe) {
      observe(function, result);
    }
  }
  return result;
}

}  // namespace

Step Real() { return {true, std::nullopt}; }

Step Answer(int result) { return {false, result}; }

Step RealButAnswer(int result) { return {true, result}; }

void Script(const std::string& function, std::vector<Step> steps) {
  scripts[function].assign(steps.begin(), steps.end());
}

void Script(const std::string& function, int count, Step step) {
  scripts[function].assign(static_cast<std::size_t>(count), step);
}

void SetErrorText(std::string text) { errorText = std::move(text); }

std::vector<std::string> Calls() {
  std::vector<std::string> calls;
  for (const Reply& reply : replies) {
    calls.push_back(reply.call);
  }
  return calls;
}

std::vector<Reply> Replies() { return replies; }

int CountCalls(const std::string& function) {
  return static_cast<int>(std::count_if(replies.begin(), replies.end(), [&](const Reply& reply) {
    return reply.function == function;
  }));
}

void SetObserver(std::function<void(const std::string&, int)> observer) {
  observe = std::move(observer);
}

std::vector<sqlite3*> OpenConnections() { return connections; }

std::vector<sqlite3_stmt*> OpenStatements() { return statements; }

void CloseConnections() {
  for (sqlite3* connection : connections) {
    sqlite3_close(connection);
  }
  connections.clear();
}

std::vector<char*> HeldErrorTexts() { return errorTexts; }

void FreeErrorTexts() {
  for (char* text : errorTexts) {
    sqlite3_free(text);
  }
  errorTexts.clear();
}

int MemoryBlocks() {
  int current = 0;
  int highest = 0;
  sqlite3_status(SQLITE_STATUS_MALLOC_COUNT, &current, &highest, 0);
  return current;
}

void Reset() {
  scripts.clear();
  errorText.reset();
  replies.clear();
  observe = nullptr;
}

}  // namespace sqlite_spy

using namespace sqlite_spy;  // NOLINT: the wrappers below are the spy

// The first lines of a wrapper: calls that do not come from the library go to `real` at once.
#define SPY(function, ...)                                      \
  const HeapPause pause;                                        \
  static auto* const real = RealFunction(#function, &function); \
  if (!IsFromLibrary(__builtin_return_address(0))) {            \
    return real(__VA_ARGS__);                                   \
  }

int sqlite3_open(const char* path, sqlite3** db) {
  SPY(sqlite3_open, path, db)
  const int result = Run("sqlite3_open", path, [&] {
    const int rc = real(path, db);
    if (*db != nullptr) {
      connections.push_back(*db);
    }
    return rc;
  });
  replies.back().hasHandle = *db != nullptr;
  return result;
}

int sqlite3_close(sqlite3* db) {
  SPY(sqlite3_close, db)
  return Run("sqlite3_close", db == nullptr ? "null" : "", [&] {
    const int rc = real(db);
    if (rc == SQLITE_OK) {
      Remove(connections, db);
    }
    return rc;
  });
}

int sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* argument, char** error) {
  SPY(sqlite3_exec, db, sql, callback, argument, error)
  bool wasReal = false;
  const int rc = Run("sqlite3_exec",
                     std::string(sql) + (callback == nullptr ? "" : ", callback") +
                         (argument == nullptr ? "" : ", argument"),
                     [&] {
                       wasReal = true;
                       return real(db, sql, callback, argument, error);
                     });
  if (!wasReal) {
    *error = errorText ? sqlite3_mprintf("%s", errorText->c_str()) : nullptr;
  }
  replies.back().text = TextOrNone(*error);
  if (*error != nullptr) {
    errorTexts.push_back(*error);
  }
  return rc;
}

void sqlite3_free(void* memory) {
  SPY(sqlite3_free, memory)
  Note("sqlite3_free", memory == nullptr ? "null" : "");
  Remove(errorTexts, static_cast<char*>(memory));
  real(memory);
}

const char* sqlite3_errmsg(sqlite3* db) {
  SPY(sqlite3_errmsg, db)
  Reply& reply = Note("sqlite3_errmsg", db == nullptr ? "null" : "");
  const char* const text = errorText ? errorText->c_str() : real(db);
  reply.text = TextOrNone(text);
  return text;
}

int sqlite3_prepare(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                    const char** tail) {
  SPY(sqlite3_prepare, db, sql, length, stmt, tail)
  return Run(
      "sqlite3_prepare",
      std::string(sql) + ", " + std::to_string(length) + (tail == nullptr ? ", no tail" : ", tail"),
      [&] {
        const int rc = real(db, sql, length, stmt, tail);
        if (*stmt != nullptr) {
          statements.push_back(*stmt);
        }
        return rc;
      });
}

int sqlite3_finalize(sqlite3_stmt* stmt) {
  SPY(sqlite3_finalize, stmt)
  return Run("sqlite3_finalize", stmt == nullptr ? "null" : "", [&] {
    Remove(statements, stmt);
    return real(stmt);
  });
}

#define SPY_ON_STATEMENT(function)                         \
  int function(sqlite3_stmt* stmt) {                       \
    SPY(function, stmt)                                    \
    return Run(#function, "", [&] { return real(stmt); }); \
  }

SPY_ON_STATEMENT(sqlite3_step)
SPY_ON_STATEMENT(sqlite3_column_count)

#define SPY_ON_COLUMN(Result, function)                                                \
  Result function(sqlite3_stmt* stmt, int column) {                                    \
    SPY(function, stmt, column)                                                        \
    return Run(#function, std::to_string(column), [&] { return real(stmt, column); }); \
  }

SPY_ON_COLUMN(const char*, sqlite3_column_name)
SPY_ON_COLUMN(const unsigned char*, sqlite3_column_text)
SPY_ON_COLUMN(int, sqlite3_column_type)
SPY_ON_COLUMN(int, sqlite3_column_int)
