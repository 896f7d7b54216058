// Processes that are killed in the middle of a change, and what the library then
// finds. A process that is killed loses nothing that it has written to a file; that
// takes a power failure.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "NoteTable.h"
#include "Operations.h"
#include "RealWait.h"
#include "TemporaryDatabase.h"
#include "TestNumbers.h"
#include "WholeFile.h"

namespace {

using note_table::TextOf;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

class KillTest : public ::testing::Test {
 protected:
  KillTest() { EXPECT_EQ(0, Run({"CreateTable"})); }

  // Each number is printed, and none may be 0.
  void TearDown() override {
    for (const auto& [name, number] : numbers) {
      std::printf("%s: %d\n", name.c_str(), number);
      EXPECT_GT(number, 0) << name;
    }
  }

  int Run(const note_table::Step& step) { return note_table::Run(step, file, database); }
  int Upsert(int key, int version) { return Run({"Upsert", std::to_string(key), TextOf(version)}); }

  // Whether a change was begun and neither completed nor rolled back. A journal that
  // is still empty does not count, and may stay.
  bool HasHotJournal() const {
    const std::string path = file.Path() + "-journal";
    const std::string journal = std::filesystem::exists(path) ? ReadWholeFile(path) : "";
    return !journal.empty() && journal[0] != '\0';
  }

  void ExpectIntact() const {
    EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_FALSE(HasHotJournal());
  }

  TemporaryDatabase file;
  Database database;
  std::map<std::string, int> numbers;
};

class RandomKillTest : public KillTest {
 protected:
  static constexpr int kKeys = 20;
  // Upserts versions for ever, and acknowledges each.
  void WriteFrom(int version, Channel& parent) {
    constexpr int kHasFailed = -1;  // no version
    for (;; ++version) {
      const int result = Upsert(version % kKeys, version);
      parent.Send(result == 0 ? version : kHasFailed);
      ASSERT_EQ(0, result);
    }
  }

  // Kills such a process some time after a number of acknowledgements; answers the
  // last one.
  int KillWriter(int version, int acknowledgements, microseconds delay) {
    ChildProcess child([&](Channel& parent) { WriteFrom(version, parent); });
    int last = version - 1;
    const auto receive = [&](milliseconds limit) {
      const std::optional<int> received = child.Link().Receive(limit);
      last = received ? last + 1 : last;
      EXPECT_EQ(last, received.value_or(last));
      return received.has_value();
    };
    for (; acknowledgements > 0; --acknowledgements) {
      EXPECT_TRUE(receive(kPatience));
    }
    std::this_thread::sleep_for(delay);
    EXPECT_FALSE(child.Link().BreaksWithin(milliseconds(0))) << "the process has ended by itself";
    child.Kill();
    while (receive(milliseconds(0))) {
    }
    return last;
  }

  microseconds DurationOfUpsert() {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(0, Upsert(0, 0));
    return std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - begin);
  }
};

TEST_F(RandomKillTest, EveryAcknowledgedRowIsThereAndTheOneInFlightWhollyOrNotAtAll) {
  std::mt19937 random(test_numbers::Seed());
  std::uniform_int_distribution<int> acknowledgements(0, 8);
  std::uniform_int_distribution<int> delay(0, 2 * static_cast<int>(DurationOfUpsert().count()));
  const auto add = [](note_table::Rows& rows, int version) {
    rows[std::to_string(version % kKeys)] = TextOf(version);
  };
  note_table::Rows expected{{"0", TextOf(0)}};
  int version = 0;
  int hotJournals = 0;
  int unacknowledged = 0;
  for (int kill = 0; kill < test_numbers::Scaled(50); ++kill) {
    const int last = KillWriter(version + 1, acknowledgements(random), microseconds(delay(random)));
    while (version < last) {
      add(expected, ++version);
    }
    hotJournals += HasHotJournal() ? 1 : 0;

    int result = 0;
    const note_table::Content found = note_table::Read(file, result);
    ASSERT_EQ(0, result);
    note_table::Rows withTheOneInFlight = expected;
    add(withTheOneInFlight, version + 1);
    if (found == withTheOneInFlight) {
      ++version;
      ++unacknowledged;
      expected = withTheOneInFlight;
    }
    ASSERT_TRUE(found == expected) << "after kill " << kill;
    ExpectIntact();
  }
  std::printf("%d kills, %d rows, %d of them unacknowledged, %d hot journals\n",
              test_numbers::Scaled(50), version, unacknowledged, hotJournals);
  EXPECT_GT(version, unacknowledged);
}

using Change = std::function<int()>;

// A process that makes a change, as far as a boundary of a system call.
class TracedChange {
 public:
  // Why no process can be traced here, if so.
  static std::error_code Obstacle() {
    ChildProcess child([](Channel& parent) {
      parent.Send(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : errno);
    });
    return {child.Link().Receive(kPatience).value_or(ECHILD), std::generic_category()};
  }

  // The child is stopped afterwards.
  TracedChange(int boundary, const Change& change)
      : m_child([&](Channel& parent) {
          Request(PTRACE_TRACEME, 0, 0);
          raise(SIGSTOP);
          parent.Send(change());
          raise(SIGSTOP);
        }) {
    EXPECT_EQ(SIGSTOP, WaitForStop());
    Request(PTRACE_SETOPTIONS, m_child.Id(), PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (; m_isReached && boundary > 0; --boundary) {
      m_isReached = RunToBoundary();
    }
  }

  // False when the change has ended before.
  bool IsAtBoundary() const { return m_isReached; }

  // Answers the result of the change, if there was one.
  std::optional<int> Kill() {
    m_child.Kill();
    return m_child.Link().Receive(milliseconds(0));
  }

 private:
  static void Request(decltype(PTRACE_TRACEME) request, pid_t process, long data) {
    if (ptrace(request, process, nullptr, data) != 0) {
      throw std::system_error(errno, std::generic_category(), "ptrace");
    }
  }

  // To the next entry into a system call or exit from one, or to the end of the change.
  bool RunToBoundary() const {
    constexpr int kSystemCall = SIGTRAP | 0x80;  // no signal
    int signal = 0;
    do {
      Request(PTRACE_SYSCALL, m_child.Id(), signal);
      signal = WaitForStop();
    } while (signal != kSystemCall && signal != SIGSTOP);
    return signal == kSystemCall;
  }

  int WaitForStop() const {
    int status = 0;
    while (waitpid(m_child.Id(), &status, 0) != m_child.Id()) {
      if (errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "waitpid");
      }
    }
    if (!WIFSTOPPED(status)) {
      throw std::runtime_error("The child has ended while it was traced.");
    }
    return WSTOPSIG(status);
  }

  ChildProcess m_child;
  bool m_isReached = true;
};

class TracedKillTest : public KillTest {
 protected:
  void SetUp() override {
    // In a container, tracing may need the capability SYS_PTRACE.
    const std::error_code obstacle = TracedChange::Obstacle();
    ASSERT_FALSE(obstacle) << "No process can be traced here: " << obstacle.message();
    for (int key = 0; key < 5; ++key) {
      ASSERT_EQ(0, Upsert(key, 0));
    }
  }

  // Kills a process at every boundary of a system call of one change, from the first on until
  // the change runs to its end.
  void KillAtEachBoundary(const Change& change) {
    Prepare(change, [] { return 0; });
    int boundary = 1;
    while (KillAt(boundary, change)) {
      ASSERT_FALSE(HasFailure()) << "at boundary " << boundary;
      ++boundary;
    }
    numbers["boundaries"] = boundary - 1;
  }

  // The same at some of the boundaries, while another process wants to make a change
  // of its own.
  void KillAtBoundariesBesideAnother(const Change& change, const Change& others) {
    Prepare(change, others);
    numbers["awaited, with a hot journal"] = 0;
    const int step = std::max(1, 6 / test_numbers::Scaled(1));
    for (int boundary = 1; KillBesideAnotherAt(boundary, change, others); boundary += step) {
      ASSERT_FALSE(HasFailure()) << "at boundary " << boundary;
    }
  }

 private:
  void Prepare(const Change& change, const Change& others) {
    image = ReadWholeFile(file.Path());
    ASSERT_EQ(0, others());
    before = operations::Contents(file);
    ASSERT_EQ(0, change());
    after = operations::Contents(file);
    ASSERT_NE(before, after);
    numbers = {{"before the change", 0}, {"after the change", 0}};
  }

  // False when the change has no such boundary.
  bool KillAt(int boundary, const Change& change) {
    Restore();
    TracedChange changer(boundary, change);
    const std::optional<int> result = changer.Kill();
    if (!changer.IsAtBoundary()) {
      EXPECT_EQ(0, result);
      EXPECT_EQ(after, operations::Contents(file));
      return false;
    }
    const bool isHot = HasHotJournal();
    numbers["hot journals"] += isHot ? 1 : 0;
    numbers["hot journals over a file that was written"] +=
        isHot && ReadWholeFile(file.Path()) != image ? 1 : 0;
    // The library's next operation works.
    EXPECT_EQ(0, operations::Run("CheckExistTable", database, file, {{"table", "note"}}));
    Check(result);
    return true;
  }

  bool KillBesideAnotherAt(int boundary, const Change& change, const Change& others) {
    Restore();
    TracedChange changer(boundary, change);
    if (!changer.IsAtBoundary()) {
      return false;
    }
    constexpr int kIsWaiting = -1;  // no result
    ChildProcess other([&](Channel& parent) {
      OnWait([&, isFirst = true]() mutable {
        if (std::exchange(isFirst, false)) {
          parent.Send(kIsWaiting);
          parent.Receive(kPatience);  // until the first process is killed
        }
      });
      parent.Send(others());
    });
    std::optional<int> answer = other.Link().Receive(kPatience);
    if (answer == kIsWaiting) {
      numbers["awaited"] += 1;
      numbers["awaited, with a hot journal"] += HasHotJournal() ? 1 : 0;
    }
    const std::optional<int> result = changer.Kill();
    if (answer == kIsWaiting) {
      other.Link().Send(0);
      answer = other.Link().Receive(kPatience);
    }
    EXPECT_EQ(0, answer);
    EXPECT_TRUE(other.EndsWell(kPatience));
    Check(result);
    return true;
  }

  void Restore() const {
    std::filesystem::remove(file.Path() + "-journal");
    WriteWholeFile(file.Path(), image);
  }

  // A change that has been acknowledged is there, any other wholly or not at all.
  void Check(const std::optional<int>& acknowledged) {
    const std::vector<std::string> found = operations::Contents(file);
    ExpectIntact();
    EXPECT_TRUE(found == after || (found == before && !acknowledged));
    EXPECT_EQ(0, acknowledged.value_or(0));
    ++numbers[found == before ? "before the change" : "after the change"];
  }

  std::string image;  // of the file before the change
  std::vector<std::string> before;
  std::vector<std::string> after;
};

TEST_F(TracedKillTest, AnUpsertIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] { return Upsert(2, 1); });
}

TEST_F(TracedKillTest, AWaitingUpsertGoesOnAfterOneThatIsKilled) {
  KillAtBoundariesBesideAnother([&] { return Upsert(2, 1); }, [&] { return Upsert(3, 1); });
}

// Of all rows.
TEST_F(TracedKillTest, AnUpdateIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    return operations::Run("Update", database, file,
                           {{"table", note_table::kTable},
                            {"column", note_table::kText},
                            {"value", TextOf(1)},
                            {"whereColumn", note_table::kText},
                            {"whereValue", TextOf(0)}});
  });
}

TEST_F(TracedKillTest, ADeleteIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] { return Run({"Delete"}); });
}

TEST_F(TracedKillTest, ATableIsCreatedWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    return operations::Run("CreateTable", database, file,
                           operations::Get("CreateTable").PlainTexts());
  });
}

TEST_F(TracedKillTest, ATableIsDroppedWhollyOrNotAtAll) {
  KillAtEachBoundary([&] { return Run({"DropTable"}); });
}

}  // namespace
