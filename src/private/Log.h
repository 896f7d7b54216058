// The one way to write a log record.
//
// A record reads "file: function(line) > message". The first three are a call site: that of the
// public member, also where a shared procedure writes the record (VORN_HERE), since the reader of
// a log looks for the member.

#ifndef VORNDATABASE_SRC_PRIVATE_LOG_H
#define VORNDATABASE_SRC_PRIVATE_LOG_H

#include <dlog.h>

#include <VornLogger.h>
#include <string>
#include <type_traits>

#ifndef __FILE_NAME__
#error \
    "The compiler lacks __FILE_NAME__, the source's base name: GCC 12, Clang 9 or later is needed."
#endif

namespace vorn {

enum LogPriority { kDebug = 3, kInfo = 4, kWarning = 5, kError = 6 };

struct LogSite {
  const char* file;
  const char* function;
  int line;
};

// Joined to every format at build time, so that the direct path needs no formatting of our own.
#define VORN_LOG_PREFIX "%s: %s(%d) > "

// A message of a priority, whose format takes arguments of these types.
template <LogPriority priority, typename... Args>
struct LogMessage {
  const char* format;  // behind VORN_LOG_PREFIX
};

template <LogPriority priority, typename... Args>
constexpr LogMessage<priority, Args...> MakeLogMessage(const char* format, Args... /*examples*/) {
  return {format};
}

// Never defined: lets the compiler check a format against its arguments.
int CheckFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Example arguments of the table.
constexpr int kNumber = 0;
constexpr const char* kText = "";

#define VORN_FORMAT_AND_ARGUMENTS(...) __VA_ARGS__
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy)                   \
  static_assert(std::is_same_v<decltype(CheckFormat message), int>, "checked by -Wformat"); \
  constexpr auto name() {                                                                   \
    return MakeLogMessage<priority>(VORN_LOG_PREFIX VORN_FORMAT_AND_ARGUMENTS message);     \
  }
namespace log {
#include "private/LogMessages.h"
}
#undef VORN_FORMAT_AND_ARGUMENTS

// Hands one record to the system log. A device's header may declare buffer and priority as
// enumerations of its own, hence the casts.
template <typename Buffer, typename Priority, typename... Args>
void CallSystemLog(int (*print)(Buffer, Priority, const char*, const char*, ...),
                   LogPriority priority, const char* tag, const char* format, Args... args) {
  constexpr auto kMainBuffer = static_cast<Buffer>(0);
  print(kMainBuffer, static_cast<Priority>(priority), tag, format, args...);
}

// Prints a record through the logger's conversion; `format` has the prefix.
void PrintProtected(const LogSite& site, LogPriority priority, const char* format, ...);

// Prints a record; `format` has the prefix. Compiled once per list of arguments. The logger belongs
// to the utility library and is asked for at each use, never kept.
template <typename... Args>
void Print(const LogSite& site, LogPriority priority, const char* format, Args... args) {
  if (!VornLogger::GetInstance()->GetEncryptionFlag()) {
    CallSystemLog(__dlog_print, priority, VornLogger::GetInstance()->GetLogTag(), format, site.file,
                  site.function, site.line, args...);
    return;
  }
  PrintProtected(site, priority, format, args...);
}

template <typename Type>
struct Exactly {
  using type = Type;
};

// Prints one record of the table.
template <LogPriority priority, typename... Args>
void PrintLog(const LogSite& site, LogMessage<priority, Args...> message,
              typename Exactly<Args>::type... args) {
  Print(site, priority, message.format, args...);
}

// Prints the record that marks the entry of a member.
void PrintEntry(const LogSite& site);

}  // namespace vorn

// The call site: a constant, so that a call only passes its address.
#define VORN_HERE                                                                     \
  (*__extension__({                                                                   \
    static constexpr ::vorn::LogSite kVornSite = {__FILE_NAME__, __func__, __LINE__}; \
    &kVornSite;                                                                       \
  }))

// Writes a record from here: VORN_LOG(message, arguments...).
#define VORN_LOG(...) ::vorn::PrintLog(VORN_HERE, __VA_ARGS__)

// Marks the entry of a member. The call site appears twice in the record, in the prefix and in
// the message; readers of the log filter by either.
#define VORN_TRACE() ::vorn::PrintEntry(VORN_HERE)

#endif  // VORNDATABASE_SRC_PRIVATE_LOG_H
