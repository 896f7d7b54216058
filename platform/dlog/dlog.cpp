#include "dlog.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace {

constexpr char kPriorityVariable[] = "VORN_DLOG_PRIORITY";
// The letters of the priorities, from 0 on.
constexpr char kLetters[] = "VVVDIWEF";
constexpr int kHighestPriority = 7;
constexpr std::string_view kSilence = "S";

char LetterOf(int priority) {
  return priority < 0 || priority > kHighestPriority ? '?' : kLetters[priority];
}

int WriteWhole(const std::string& line) {
  std::size_t written = 0;
  while (written < line.size()) {
    const ssize_t count = write(STDERR_FILENO, line.data() + written, line.size() - written);
    if (count < 0 && errno != EINTR) {
      return -1;
    }
    written += count < 0 ? 0 : static_cast<std::size_t>(count);
  }
  return static_cast<int>(written);
}

int ReadLowestPriority() {
  const char* const value = std::getenv(kPriorityVariable);
  if (value == nullptr) {
    return 0;
  }
  if (value == kSilence) {
    return std::numeric_limits<int>::max();
  }
  const char* const letter =
      value[0] != '\0' && value[1] == '\0' ? std::strchr(kLetters, value[0]) : nullptr;
  if (letter == nullptr) {
    WriteWhole(std::string("dlog: ") + kPriorityVariable + "=" + value +
               " is none of V D I W E F S; writing every line\n");
    return 0;
  }
  return static_cast<int>(letter - kLetters);
}

bool IsWritten(int priority) {
  static const int lowest = ReadLowestPriority();
  return priority >= lowest;
}

// Appends the formatted message; false when it cannot be formatted.
bool AppendMessage(std::string& line, const char* format, va_list arguments) {
  va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  if (length < 0) {
    return false;
  }
  const std::size_t prefix = line.size();
  line.resize(prefix + static_cast<std::size_t>(length) + 1);
  static_cast<void>(
      std::vsnprintf(&line[prefix], static_cast<std::size_t>(length) + 1, format, arguments));
  line.back() = '\n';
  return true;
}

}  // namespace

int __dlog_print(int /*log_id*/, int priority, const char* tag, const char* format, ...) {
  const int savedErrno = errno;
  if (!IsWritten(priority)) {
    errno = savedErrno;
    return 0;
  }
  std::string line(1, LetterOf(priority));
  line += ' ';
  line += tag != nullptr ? tag : "-";
  line += ' ' + std::to_string(getpid()) + ' ' + std::to_string(syscall(SYS_gettid)) + ' ';
  va_list arguments;
  va_start(arguments, format);
  const bool formatted = AppendMessage(line, format, arguments);
  va_end(arguments);
  const int result = formatted ? WriteWhole(line) : -1;
  errno = savedErrno;
  return result;
}
