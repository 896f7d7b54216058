#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

#include "Terminal.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

// The process has one log, as it has one standard error.
struct Sink {
  bool show = false;
  std::vector<std::string> lines;
};

Sink& TheSink() {
  static Sink sink;
  return sink;
}

// A line as the platform's stub writes it on a desktop.
void Receive(int priority, const std::string& tag, const std::string& message) {
  const std::string process = ' ' + std::to_string(getpid());
  const std::string line = LetterOf(priority) + (' ' + tag) + process + process + ' ' + message;
  if (TheSink().show) {
    // At once, since several processes may share the log.
    std::cerr << Printable(line) + '\n';
  }
  if (priority >= kWarning) {
    TheSink().lines.push_back(line);
  }
}

}  // namespace

void ShowLog(bool show) { TheSink().show = show; }

std::vector<std::string> TakeLines() { return std::exchange(TheSink().lines, {}); }

Log ReadLines(const std::vector<std::string>& lines) {
  Log log;
  for (const std::string& text : lines) {
    if (std::optional<LogLine> line = ParseLogLine(text); line && SetMeaning(*line)) {
      log.push_back(*line);
    }
  }
  return log;
}

}  // namespace vorndb

// The linker prefers this definition, the program's own, to the system's.
extern "C" int __dlog_print(int /*log_id*/, int priority, const char* tag, const char* format,
                            ...) {
  if (priority < vorndb::kWarning && !vorndb::TheSink().show) {
    return 0;
  }
  char* message = nullptr;
  va_list arguments;
  va_start(arguments, format);
  const int length = vasprintf(&message, format, arguments);
  va_end(arguments);
  if (length >= 0) {
    const std::unique_ptr<char, decltype(&std::free)> owner(message, &std::free);
    vorndb::Receive(priority, tag, message);
  }
  return length;
}
