#include "FakePlatform.h"

#include <VornLogger.h>
#include <VornMutex.h>
#include <dlog.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <utility>

#include "HeapPause.h"
#include "Journal.h"

namespace fake {

namespace {

using journal::Kind;

struct State {
  std::vector<LogLine> logLines;
  bool encryption = false;
  std::function<std::string(const std::string&)> convert = [](const std::string& message) {
    return "secure(" + message + ")";
  };
  std::string buffer = std::string(kBufferSize, '~');
  std::optional<int> lockNameResult;
  std::map<const VornMutex*, std::string> mutexNames;
  int loggerCallsToThrow = 0;  // until the one that throws; 0: none does
};

State state;

void NoteLoggerCall(const char* call) {
  const HeapPause pause;
  journal::Add(Kind::kLogger, call);
  if (state.loggerCallsToThrow > 0 && --state.loggerCallsToThrow == 0) {
    throw std::bad_alloc();
  }
}

void NoteMutexCall(const char* call, const VornMutex* mutex) {
  const HeapPause pause;
  journal::Add(Kind::kMutex, call + state.mutexNames[mutex]);
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
    text.replace(at, from.size(), to);
    at += to.size();
  }
}

std::string Normalised(const LogLine& line) {
  std::string text = std::to_string(line.priority) + " " + line.text;
  const std::string number = std::to_string(line.line);
  ReplaceAll(text, line.function + "(" + number + ")", line.function + "(#)");
  ReplaceAll(text, line.function + "[" + number + "]", line.function + "[#]");
  return text;
}

std::string Formatted(const char* format, va_list arguments) {
  va_list measured;
  va_copy(measured, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  return text;
}

}  // namespace

std::vector<LogLine> LogLines() { return state.logLines; }

std::vector<std::string> Lines() { return journal::Of({Kind::kLog}); }

std::string Line(int priority, const std::string& file, const std::string& function,
                 const std::string& message) {
  return std::to_string(priority) + " " + file + ": " + function + "(#) > " + message;
}

std::string Trace(const std::string& file, const std::string& function) {
  return Line(3, file, function, file + "::" + function + "(#) called");
}

std::vector<std::string> BusyLines(const std::string& file, int count) {
  constexpr int kWarnings = 15;
  std::vector<std::string> lines;
  for (int busy = 1; busy <= std::min(count, kWarnings); ++busy) {
    lines.push_back(Line(5, file, "IsRetryLimit", "SQLITE BUSY[" + std::to_string(busy) + "]"));
  }
  if (count > kWarnings) {
    lines.push_back(Line(6, file, "IsRetryLimit", "RETRY COUNT is reached LIMIT, SQLITE_BUSY"));
  }
  return lines;
}

void SetEncryption(bool flag) { state.encryption = flag; }

void SetConversion(std::function<std::string(const std::string&)> conversion) {
  state.convert = std::move(conversion);
}

char* Buffer() { return state.buffer.data(); }

void ThrowAtLoggerCall(int number) { state.loggerCallsToThrow = number; }

void FailLockNames(int result) { state.lockNameResult = result; }

void ResetPlatform() { state = State(); }

}  // namespace fake

using fake::state;
using journal::Kind;

// The system log.

int __dlog_print(int logId, int priority, const char* tag, const char* format, ...) {
  const HeapPause pause;
  va_list arguments;
  va_start(arguments, format);
  va_list prefix;
  va_copy(prefix, arguments);
  const char* const file = va_arg(prefix, const char*);
  const char* const function = va_arg(prefix, const char*);
  const int line = va_arg(prefix, int);
  va_end(prefix);
  state.logLines.push_back(
      {logId, priority, tag, format, fake::Formatted(format, arguments), file, function, line});
  va_end(arguments);
  journal::Add(Kind::kLog, fake::Normalised(state.logLines.back()));
  return 0;
}

// The logger of the utility library.

VornLogger::VornLogger() = default;
VornLogger::~VornLogger() = default;

VornLogger* VornLogger::GetInstance() {
  static VornLogger logger;
  fake::NoteLoggerCall("GetInstance");
  return &logger;
}

bool VornLogger::GetEncryptionFlag() {
  fake::NoteLoggerCall("GetEncryptionFlag");
  return state.encryption;
}

int VornLogger::GetBufferIndex() {
  fake::NoteLoggerCall("GetBufferIndex");
  return fake::kBufferIndex;
}

char* VornLogger::GetBuffer(const int& index) {
  const HeapPause pause;
  fake::NoteLoggerCall(("GetBuffer(" + std::to_string(index) + ")").c_str());
  return fake::Buffer();
}

std::string VornLogger::ConvertToSecureLog(std::string message) {
  const HeapPause pause;
  fake::NoteLoggerCall(("ConvertToSecureLog(" + message + ")").c_str());
  return state.convert(message);
}

const char* VornLogger::GetLogTag() const {
  fake::NoteLoggerCall("GetLogTag");
  return "FAKE_TAG";
}

// The named mutex of the utility library.

VornMutex::VornMutex(const char* name) : m_shard(nullptr) {
  const HeapPause pause;
  state.mutexNames[this] = name;
  journal::Add(Kind::kMutex, std::string("make ") + name);
}

VornMutex::~VornMutex() {
  const HeapPause pause;
  fake::NoteMutexCall("destroy ", this);
  state.mutexNames.erase(this);
}

void VornMutex::Lock() { fake::NoteMutexCall("lock ", this); }

void VornMutex::Unlock() { fake::NoteMutexCall("unlock ", this); }

// The system library.

namespace {

// The format tells the library's formatting of a lock name from everybody else's
// use of the call.
int Format(char* output, std::size_t size, const char* format, va_list arguments) {
  const HeapPause pause;
  if (std::strcmp(format, "%" PRIxPTR) == 0) {
    journal::Add(Kind::kFormat, std::to_string(size) + " " + format);
    if (state.lockNameResult) {
      return *state.lockNameResult;
    }
  }
  return std::vsnprintf(output, size, format, arguments);
}

}  // namespace

int usleep(useconds_t microseconds) {
  const HeapPause pause;
  journal::Add(Kind::kSleep, "usleep " + std::to_string(microseconds));
  return 0;
}

int snprintf(char* output, std::size_t size, const char* format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  const int length = Format(output, size, format, arguments);
  va_end(arguments);
  return length;
}

// What the call above becomes where the C library checks sizes.
extern "C" int __snprintf_chk(char* output, std::size_t size, int /*flag*/,
                              std::size_t /*capacity*/, const char* format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  const int length = Format(output, size, format, arguments);
  va_end(arguments);
  return length;
}
