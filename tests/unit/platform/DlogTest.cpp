#include "dlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

// What code writes to standard error in a process of its own, whose environment
// holds `priority` as the lowest one to be written (null: unset).
std::string ErrorsOf(const char* priority, const std::function<void()>& code) {
  std::array<int, 2> ends{};
  EXPECT_EQ(0, pipe(ends.data()));
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    if (priority == nullptr) {
      unsetenv("VORN_DLOG_PRIORITY");
    } else {
      setenv("VORN_DLOG_PRIORITY", priority, 1);
    }
    code();
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  std::array<char, 4096> part{};
  ssize_t size = 0;
  while ((size = read(ends[0], part.data(), part.size())) > 0) {
    text.append(part.data(), static_cast<std::size_t>(size));
  }
  close(ends[0]);
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
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

TEST(DlogTest, EveryPriorityHasItsLetter) {
  EXPECT_THAT(LinesOf(ErrorsOf(nullptr, WriteOneLineOfEachPriority)),
              ElementsAre(StartsWith("V "), StartsWith("D "), StartsWith("I "), StartsWith("W "),
                          StartsWith("E "), StartsWith("F ")));
}

TEST(DlogTest, AnUnknownPriorityIsAQuestionMark) {
  EXPECT_THAT(LinesOf(ErrorsOf(nullptr, [] { __dlog_print(0, 99, "TAG", "message"); })),
              ElementsAre(StartsWith("? ")));
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
  const std::string text = ErrorsOf(nullptr, [] {
    const int bytes = __dlog_print(0, 6, "TAG", "message");
    __dlog_print(0, 6, "TAG", "%d", bytes);
  });
  const auto lines = LinesOf(text);
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_THAT(lines[1], ::testing::EndsWith(" " + std::to_string(lines[0].size() + 1)));
}

TEST(DlogTest, ReturnsZeroForALineThatIsNotWritten) {
  EXPECT_THAT(ErrorsOf("E",
                       [] {
                         const int bytes = __dlog_print(0, 3, "TAG", "message");
                         __dlog_print(0, 6, "TAG", "%d", bytes);
                       }),
              HasSubstr(" 0\n"));
}

TEST(DlogTest, ReportsThatStandardErrorIsClosed) {
  std::array<int, 2> ends{};
  ASSERT_EQ(0, pipe(ends.data()));
  ErrorsOf(nullptr, [&ends] {
    close(STDERR_FILENO);
    const int result = __dlog_print(0, 6, "TAG", "message");
    if (write(ends[1], &result, sizeof result) < 0) {
      _exit(1);
    }
  });
  int result = 0;
  EXPECT_EQ(static_cast<ssize_t>(sizeof result), read(ends[0], &result, sizeof result));
  EXPECT_LT(result, 0);
  close(ends[0]);
  close(ends[1]);
}

TEST(DlogTest, LeavesErrno) {
  EXPECT_THAT(ErrorsOf(nullptr,
                       [] {
                         errno = 77;
                         __dlog_print(0, 6, "TAG", "message");
                         const int after = errno;
                         __dlog_print(0, 6, "TAG", "errno %d", after);
                       }),
              HasSubstr(" errno 77\n"));
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
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([thread] {
        const std::string message(100, static_cast<char>('a' + thread));
        for (int line = 0; line < kLines; ++line) {
          __dlog_print(0, 6, "TAG", "%s", message.c_str());
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  });
  const auto lines = LinesOf(text);
  EXPECT_THAT(lines, SizeIs(kThreads * kLines));
  EXPECT_THAT(lines, Each(MatchesRegex("E TAG [0-9]+ [0-9]+ (a+|b+|c+|d+|e+|f+|g+|h+)")));
  EXPECT_THAT(lines, Each(::testing::Property(&std::string::size, ::testing::Ge(100U))));
}

}  // namespace
