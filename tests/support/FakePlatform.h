// Test doubles of the platform. The test program exports them, so the unchanged library calls them.

#ifndef VORN_TESTS_SUPPORT_FAKEPLATFORM_H
#define VORN_TESTS_SUPPORT_FAKEPLATFORM_H

#include <functional>
#include <string>
#include <vector>

namespace fake {

// One call of __dlog_print.
struct LogLine {
  int logId;
  int priority;
  std::string tag;
  std::string format;
  std::string text;
  std::string file;
  std::string function;
  int line;
};

std::vector<LogLine> LogLines();

// The lines as "priority text", with "#" for the line number of the call.
std::vector<std::string> Lines();

// How such a line is expected to read.
std::string Line(int priority, const std::string& file, const std::string& function,
                 const std::string& message);
std::string Trace(const std::string& file, const std::string& function);
// The lines of the first `count` busy results of one loop, logged by that file's class.
std::vector<std::string> BusyLines(const std::string& file, int count);

// The logger.
constexpr int kBufferIndex = 7;
constexpr std::size_t kBufferSize = 1024;
void SetEncryption(bool flag);
void SetConversion(std::function<std::string(const std::string&)> conversion);
char* Buffer();
// Makes the logger throw std::bad_alloc at its call of that number, once; 0 takes
// that back.
void ThrowAtLoggerCall(int number);

// The result of the formatting call for lock names, in place of formatting. The journal has the
// size and the format of the call.
void FailLockNames(int result);
// Puts all fakes back into their first state.
void ResetPlatform();

}  // namespace fake

#endif  // VORN_TESTS_SUPPORT_FAKEPLATFORM_H
