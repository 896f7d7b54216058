// Processes that are killed in the middle of a change, and what the library then
// finds. A process that is killed loses nothing that it has written to a file; that
// takes a power failure.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "TestScale.h"
#include "TestSeed.h"
#include "Tracer.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

std::string Content(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// A text that takes several pages, so that a row cannot be written at one go.
std::string TextOf(int version) {
  std::string text;
  while (text.size() < 9000) {
    text += std::to_string(version) + ",";
  }
  return text;
}

// A row is a key, a version of its content, and the content.
class KillTest : public ::testing::Test {
 protected:
  KillTest() { file.Run("CREATE TABLE t (id INTEGER PRIMARY KEY, version INTEGER, text TEXT)"); }

  template <typename Request>
  void Locate(Request& request) const {
    file.Locate(request);
    request.SetTable("t");
  }

  template <typename Request>
  static void SetVersion(Request& request, int version) {
    request.SetData("version", version);
    request.SetData("text", TextOf(version).c_str());
  }

  int Upsert(int key, int version) {
    UpsertRequest request;
    Locate(request);
    request.SetData("id", key);
    SetVersion(request, version);
    return database.Upsert(request);
  }

  // Whether a change was begun and neither completed nor rolled back. A journal that
  // is still empty does not count, and may stay.
  bool HasHotJournal() const {
    const std::string journal = Content(file.Path() + "-journal");
    return !journal.empty() && journal[0] != '\0';
  }

  void ExpectIntact() const {
    EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_FALSE(HasHotJournal());
  }

  TemporaryDatabase file;
  Database database;
};

class RandomKillTest : public KillTest {
 protected:
  static constexpr int kKeys = 20;
  static int KeyOf(int version) { return version % kKeys; }

  // Upserts versions for ever, and acknowledges each.
  void WriteFrom(int version, Channel& parent) {
    for (;; ++version) {
      ASSERT_EQ(0, Upsert(KeyOf(version), version));
      parent.Send(version);
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

  // Key to version, as the library reads them.
  std::map<int, int> Versions() {
    SelectRequest request;
    Locate(request);
    Cursor cursor;
    EXPECT_EQ(0, database.Select(request, cursor));
    std::map<int, int> versions;
    while (cursor.MoveToNext() == 0) {
      int key = -1;
      int version = -1;
      std::string text;
      EXPECT_EQ(0, cursor.GetInt("id", key));
      EXPECT_EQ(0, cursor.GetInt("version", version));
      EXPECT_EQ(0, cursor.GetString("text", text));
      EXPECT_TRUE(text == TextOf(version)) << "key " << key << " is torn at version " << version;
      versions[key] = version;
    }
    return versions;
  }
};

TEST_F(RandomKillTest, EveryAcknowledgedRowIsThereAndTheOneInFlightWhollyOrNotAtAll) {
  const int kills = test_scale::Scaled(50);
  std::mt19937 random(test_seed::Seed());
  std::uniform_int_distribution<int> acknowledgements(0, 8);
  std::uniform_int_distribution<int> delay(0, 2 * static_cast<int>(DurationOfUpsert().count()));
  std::map<int, int> expected{{0, 0}};
  int version = 0;
  int hotJournals = 0;
  int unacknowledged = 0;
  for (int kill = 0; kill < kills; ++kill) {
    const int last = KillWriter(version + 1, acknowledgements(random), microseconds(delay(random)));
    while (version < last) {
      ++version;
      expected[KeyOf(version)] = version;
    }
    hotJournals += HasHotJournal() ? 1 : 0;

    const std::map<int, int> found = Versions();
    const int inFlight = version + 1;
    if (const auto row = found.find(KeyOf(inFlight));
        row != found.end() && row->second == inFlight) {
      version = inFlight;
      expected[KeyOf(inFlight)] = inFlight;
      ++unacknowledged;
    }
    ASSERT_EQ(expected, found) << "after kill " << kill;
    ExpectIntact();
  }
  EXPECT_GT(version, unacknowledged);
  std::printf("%d kills, %d rows, %d of them unacknowledged, %d hot journals\n", kills, version,
              unacknowledged, hotJournals);
}

class TracedKillTest : public KillTest {
 protected:
  void SetUp() override {
    if (const std::string obstacle = Tracer::Obstacle(); !obstacle.empty()) {
      GTEST_SKIP() << "No process can be traced here: " << obstacle;
    }
    for (int key = 0; key < 5; ++key) {
      ASSERT_EQ(0, Upsert(key, 0));
    }
  }

  // Kills a process at every boundary of a system call of one change, from the first
  // on until the change runs to its end.
  void KillAtEachBoundary(const std::function<int()>& change) {
    const std::string image = Content(file.Path());
    before = State();
    ASSERT_EQ(0, change());
    after = State();
    ASSERT_NE(before, after);

    int boundaries = 0;
    while (KillAtBoundary(boundaries + 1, image, change)) {
      ++boundaries;
      ASSERT_FALSE(HasFailure()) << "at boundary " << boundaries;
    }
    EXPECT_GT(unchanged, 0);
    EXPECT_GT(changed, 0);
    EXPECT_GT(rolledBack, 0);
    std::printf(
        "%d boundaries: %d before the change, %d after it; %d hot journals, "
        "%d of them over a file that was written\n",
        boundaries, unchanged, changed, hotJournals, rolledBack);
  }

 private:
  // False when the change has no such boundary.
  bool KillAtBoundary(int boundary, const std::string& image, const std::function<int()>& change) {
    Restore(image);
    ChildProcess child([&](Channel& parent) {
      BeginTraced();
      parent.Send(change());
      EndTraced();
    });
    Tracer tracer(child.Id());
    bool isReached = true;
    for (; isReached && boundary > 0; --boundary) {
      isReached = tracer.RunToBoundary();
    }
    child.Kill();
    const std::optional<int> acknowledged = child.Link().Receive(milliseconds(0));
    if (isReached) {
      CheckKilled(acknowledged, image);
    } else {
      EXPECT_EQ(0, acknowledged);
      EXPECT_EQ(after, State());
    }
    return isReached;
  }

  void Restore(const std::string& image) const {
    std::filesystem::remove(file.Path() + "-journal");
    std::ofstream(file.Path(), std::ios::binary) << image;
  }

  void CheckKilled(const std::optional<int>& acknowledged, const std::string& image) {
    const bool isHot = HasHotJournal();
    const bool isWritten = Content(file.Path()) != image;
    bool exists = false;
    EXPECT_EQ(0, [&] {
      BasePath path;
      file.Locate(path);
      return database.CheckExistTable(path, "t", exists);
    }());
    const std::vector<std::string> found = State();
    ExpectIntact();

    EXPECT_TRUE(found == before || found == after);
    if (acknowledged) {
      EXPECT_EQ(0, *acknowledged);
      EXPECT_TRUE(found == after);
    }
    (found == before ? unchanged : changed) += 1;
    hotJournals += isHot ? 1 : 0;
    rolledBack += isHot && isWritten && found == before ? 1 : 0;
  }

  // All that is in the file, as SQLite tells it.
  std::vector<std::string> State() const {
    std::vector<std::string> state = file.Rows("SELECT name, sql FROM sqlite_master ORDER BY name");
    if (!state.empty() && state.back().rfind("t|", 0) == 0) {
      for (const std::string& row : file.Rows("SELECT * FROM t ORDER BY id")) {
        state.push_back(row);
      }
    }
    return state;
  }

  std::vector<std::string> before;
  std::vector<std::string> after;
  int unchanged = 0;
  int changed = 0;
  int hotJournals = 0;
  int rolledBack = 0;
};

TEST_F(TracedKillTest, AnUpsertIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] { return Upsert(2, 1); });
}

TEST_F(TracedKillTest, AnUpdateIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    UpdateRequest request;
    Locate(request);
    SetVersion(request, 1);
    request.SetWhere("version", 0);
    return database.Update(request);
  });
}

TEST_F(TracedKillTest, ADeleteIsDoneWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    DeleteRequest request;
    Locate(request);
    return database.Delete(request);
  });
}

TEST_F(TracedKillTest, ATableIsCreatedWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    CreateRequest request;
    file.Locate(request);
    request.SetTable("s");
    request.SetPrimaryKey("id", "TEXT");
    return database.CreateTable(request);
  });
}

TEST_F(TracedKillTest, ATableIsDroppedWhollyOrNotAtAll) {
  KillAtEachBoundary([&] {
    DropRequest request;
    Locate(request);
    return database.DropTable(request);
  });
}

}  // namespace
