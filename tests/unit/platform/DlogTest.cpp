#include "dlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "RunOnThreads.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

// What code writes to standard error in a process of its own, whose environment
// holds `priority` as the lowest one to be written (null: unset).
std::string ErrorsOf(const char* priority, const std::function<void()>& code) {
  std::FILE* const errors = std::tmpfile();
  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(errors), STDERR_FILENO);
    unsetenv("VORN_DLOG_PRIORITY");
    if (priority != nullptr) {
      setenv("VORN_DLOG_PRIORITY", priority, 1);
    }
    code();
    _exit(0);
  }
  int status = -1;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  std::rewind(errors);
  std::string text;
  for (int byte = std::fgetc(errors); byte != EOF; byte = std::fgetc(errors)) {
    text += static_cast<char>(byte);
  }
  std::fclose(errors);
  return text;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

void WriteOneLineOfEachPriority() {
  for (int priority = 2; priority <= 7; ++priority) {
    __dlog_print(0, priority, "TAG", "message %d", priority);
  }
}

TEST(DlogTest, WritesLetterTagProcessThreadAndMessage) {
  EXPECT_THAT(ErrorsOf(nullptr, [] { __dlog_print(0, 6, "TAG", "%s: %d", "count", 3); }),
              MatchesRegex("E TAG [0-9]+ [0-9]+ count: 3\n"));
}

TEST(DlogTest, EveryPriorityHasItsLetterAndAnUnknownOneAQuestionMark) {
  EXPECT_THAT(LinesOf(ErrorsOf(nullptr,
                               [] {
                                 WriteOneLineOfEachPriority();
                                 __dlog_print(0, 99, "TAG", "message");
                               })),
              ElementsAre(StartsWith("V "), StartsWith("D "), StartsWith("I "), StartsWith("W "),
                          StartsWith("E "), StartsWith("F "), StartsWith("? ")));
}

TEST(DlogTest, WritesNoLineBelowTheLowestPriority) {
  EXPECT_THAT(LinesOf(ErrorsOf("W", WriteOneLineOfEachPriority)),
              ElementsAre(StartsWith("W "), StartsWith("E "), StartsWith("F ")));
  EXPECT_THAT(LinesOf(ErrorsOf("V", WriteOneLineOfEachPriority)), SizeIs(6));
  EXPECT_THAT(LinesOf(ErrorsOf("D", WriteOneLineOfEachPriority)), SizeIs(5));
  EXPECT_THAT(ErrorsOf("S", WriteOneLineOfEachPriority), IsEmpty());
  EXPECT_THAT(ErrorsOf("S", [] { __dlog_print(0, 99, "TAG", "message"); }), IsEmpty());
}

TEST(DlogTest, SaysThatALowestPriorityIsUnknownAndWritesEveryLine) {
  for (const char* value : {"X", "", "warning", "5"}) {
    const auto lines = LinesOf(ErrorsOf(value, WriteOneLineOfEachPriority));
    ASSERT_THAT(lines, SizeIs(7)) << value;
    EXPECT_THAT(lines[0], HasSubstr(std::string("VORN_DLOG_PRIORITY=") + value + " is none of"));
  }
}

TEST(DlogTest, ReturnsTheNumberOfBytesWritten) {
  const auto lines = LinesOf(ErrorsOf("E", [] {
    const int bytes = __dlog_print(0, 6, "TAG", "message");
    const int none = __dlog_print(0, 3, "TAG", "message");
    __dlog_print(0, 6, "TAG", "%d %d", bytes, none);
  }));
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_THAT(lines[1], EndsWith(" " + std::to_string(lines[0].size() + 1) + " 0"));
}

TEST(DlogTest, ReportsThatStandardErrorIsClosed) {
  ErrorsOf(nullptr, [] {
    close(STDERR_FILENO);
    _exit(__dlog_print(0, 6, "TAG", "message") < 0 ? 0 : 1);
  });
}

TEST(DlogTest, LeavesErrno) {
  ErrorsOf(nullptr, [] {
    errno = 77;
    __dlog_print(0, 6, "TAG", "message");
    _exit(errno == 77 ? 0 : 1);
  });
}

TEST(DlogTest, WritesALongMessageWhole) {
  const std::string message(100000, 'x');
  EXPECT_THAT(ErrorsOf(nullptr, [&] { __dlog_print(0, 6, "TAG", "%s", message.c_str()); }),
              HasSubstr(" " + message + "\n"));
}

TEST(DlogTest, WritesANullTagAsADash) {
  EXPECT_THAT(ErrorsOf(nullptr, [] { __dlog_print(0, 6, nullptr, "message"); }),
              StartsWith("E - "));
}

TEST(DlogTest, LinesOfSeveralThreadsDoNotMix) {
  constexpr int kThreads = 8;
  constexpr int kLines = 200;
  const std::string text = ErrorsOf(nullptr, [] {
    RunOnThreads(kThreads, [](int thread) {
      const std::string message(100, static_cast<char>('a' + thread));
      for (int line = 0; line < kLines; ++line) {
        __dlog_print(0, 6, "TAG", "%s", message.c_str());
      }
    });
  });
  const auto lines = LinesOf(text);
  EXPECT_THAT(lines, SizeIs(kThreads * kLines));
  EXPECT_THAT(lines, Each(MatchesRegex("E TAG [0-9]+ [0-9]+ (a+|b+|c+|d+|e+|f+|g+|h+)")));
  EXPECT_THAT(lines, Each(::testing::Property(&std::string::size, ::testing::Ge(100U))));
}

}  // namespace
