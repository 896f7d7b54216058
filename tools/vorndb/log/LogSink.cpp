#include "log/LogSink.h"

#include <unistd.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

#include "Text.h"

namespace {

constexpr int kWarning = 5;

// The process has one log, as it has one standard error.
struct Sink {
  bool show = false;
  std::vector<vorndb::LoggedLine> lines;
};

Sink& TheSink() {
  static Sink sink;
  return sink;
}

std::string Format(const char* format, va_list arguments) {
  va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  static_cast<void>(std::vsnprintf(text.data(), text.size() + 1, format, arguments));
  return text;
}

char LetterOf(int priority) {
  constexpr char kLetters[] = "VVVDIWEF";
  return priority >= 0 && priority <= 7 ? kLetters[priority] : '?';
}

// As the platform's stand-in writes it on a desktop; what reads the one reads the other. At
// once, since several processes may share the log.
void Show(int priority, const char* tag, const std::string& line) {
  const std::string process = std::to_string(getpid());
  std::cerr << LetterOf(priority) + (' ' + std::string(tag)) + ' ' + process + ' ' + process + ' ' +
                   vorndb::Printable(line) + '\n';
}

void Keep(int priority, const std::string& text) {
  std::optional<vorndb::LogLine> line = vorndb::ParseLogLine(text);
  if (!line) {
    return;
  }
  line->prefix.priority = LetterOf(priority);
  if (const std::optional<vorndb::LogMeaning> meaning = vorndb::MeaningOf(*line)) {
    TheSink().lines.push_back({*line, *meaning});
  }
}

}  // namespace

// The library finds this function before the system's, since a program's own come first.
extern "C" int __dlog_print(int /*log_id*/, int priority, const char* tag, const char* format,
                            ...) {
  if (priority < kWarning && !TheSink().show) {
    return 0;
  }
  va_list arguments;
  va_start(arguments, format);
  const std::string line = Format(format, arguments);
  va_end(arguments);
  if (TheSink().show) {
    Show(priority, tag, line);
  }
  if (priority >= kWarning) {
    Keep(priority, line);
  }
  return static_cast<int>(line.size());
}

namespace vorndb {

void ShowLog(bool show) { TheSink().show = show; }

std::vector<LoggedLine> TakeLog() { return std::exchange(TheSink().lines, {}); }

}  // namespace vorndb
