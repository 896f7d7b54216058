// The one way to write a log line.
//
// A line reads "file: function(line) > message". VORN_LOG takes the three from
// the place where it stands. A procedure that serves several public members
// takes the place from the member instead (VORN_HERE), because the reader of the
// log looks for the member, not for our helper.

#ifndef VORNDATABASE_SRC_LOG_H
#define VORNDATABASE_SRC_LOG_H

#include <dlog.h>

#include <VornLogger.h>
#include <cstddef>
#include <cstdio>
#include <string>

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

// Joined to every message format at build time, so that the direct path needs no
// formatting of our own. The bare format is the tail of the joined one.
#define VORN_LOG_PREFIX "%s: %s(%d) > "
constexpr std::size_t kLogPrefixLength = sizeof(VORN_LOG_PREFIX) - 1;

// The size of the protected path's message, its NUL included.
constexpr std::size_t kProtectedMessageSize = 599;

// Hands one line to the system log. A device's header may declare buffer and
// priority as enumerations of its own, hence the casts.
template <typename Buffer, typename Priority, typename... Args>
void CallSystemLog(int (*print)(Buffer, Priority, const char*, const char*, ...),
                   LogPriority priority, const char* tag, const char* format, Args... args) {
  constexpr auto kMainBuffer = static_cast<Buffer>(0);
  print(kMainBuffer, static_cast<Priority>(priority), tag, format, args...);
}

// Prints a line through the logger's conversion; `format` is the bare one.
void PrintProtected(const LogSite& site, LogPriority priority, const char* format, ...);

// Prints one line; `format` is a VORN_FORMAT. The logger belongs to the utility
// library and is asked for at each use, never kept.
template <typename... Args>
void PrintLog(const LogSite& site, LogPriority priority, const char* format, Args... args) {
  if (!VornLogger::GetInstance()->GetEncryptionFlag()) {
    CallSystemLog(__dlog_print, priority, VornLogger::GetInstance()->GetLogTag(), format, site.file,
                  site.function, site.line, args...);
    return;
  }
  PrintProtected(site, priority, format + kLogPrefixLength, args...);
}

// Prints the line that marks the entry of a member.
void PrintTrace(const LogSite& site);

// Never defined: lets the compiler check a message's arguments.
int CheckFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vorn

// The place where this stands: a constant, so that a call only passes its address.
#define VORN_HERE                                                                     \
  (*__extension__({                                                                   \
    static constexpr ::vorn::LogSite kVornSite = {__FILE_NAME__, __func__, __LINE__}; \
    &kVornSite;                                                                       \
  }))

// A message format literal in the form that PrintLog takes.
#define VORN_FORMAT(format) (VORN_LOG_PREFIX format)

// Writes a line from a given place: VORN_LOG_AT(site, priority, format, ...).
#define VORN_LOG_AT(site, priority, ...)                        \
  (static_cast<void>(sizeof(::vorn::CheckFormat(__VA_ARGS__))), \
   ::vorn::PrintLog(site, priority, VORN_LOG_PREFIX __VA_ARGS__))

// Writes a line from here: VORN_LOG(priority, format, ...).
#define VORN_LOG(priority, ...) VORN_LOG_AT(VORN_HERE, priority, __VA_ARGS__)

// Writes the line that marks the entry of a member. The place stands twice in
// it, in the prefix and in the message; readers of the log filter by either.
#define VORN_TRACE() ::vorn::PrintTrace(VORN_HERE)

#endif  // VORNDATABASE_SRC_LOG_H
