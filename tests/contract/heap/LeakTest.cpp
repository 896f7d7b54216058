// What stays allocated on purpose. These tests leak, so they stand apart and run
// without leak detection.

#include <functional>
#include <string>

#include "BasePath.h"
#include "CreateRequest.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HeapSpy.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class LeakTest : public LibraryTest {
 protected:
  void TearDown() override {
    heap_spy::Stop();
    LibraryTest::TearDown();
  }
};

// A setter of texts, called with each text for all of its arguments.
struct Setter {
  std::string name;
  std::size_t texts;  // that one call stores
  // Calls it in turn with these texts on a new object, and destroys that.
  std::function<void(std::initializer_list<const char*>)> call;
  // How many arrays of these sizes the object holds before it is destroyed.
  std::function<std::vector<std::size_t>(std::initializer_list<const char*>)> held;
};

void PrintTo(const Setter& setter, std::ostream* stream) { *stream << setter.name; }

template <typename Object, typename Set>
Setter SetterOf(const std::string& name, std::size_t texts, Set set) {
  return {name, texts,
          [set](std::initializer_list<const char*> values) {
            Object object;
            for (const char* value : values) {
              set(object, value);
            }
          },
          [set](std::initializer_list<const char*> values) {
            Object object;
            for (const char* value : values) {
              set(object, value);
            }
            return heap_spy::ArraysHeld();
          }};
}

template <typename Request>
Setter TableSetterOf(const std::string& name) {
  return SetterOf<Request>(name + "SetTable", 1, [](Request& r, const char* t) { r.SetTable(t); });
}

std::vector<Setter> Setters() {
  return {
      SetterOf<BasePath>("SetPath", 2, [](BasePath& p, const char* t) { p.SetPath(t, t); }),
      TableSetterOf<SelectRequest>("SelectRequest"),
      TableSetterOf<UpdateRequest>("UpdateRequest"),
      TableSetterOf<UpsertRequest>("UpsertRequest"),
      TableSetterOf<DeleteRequest>("DeleteRequest"),
      TableSetterOf<DropRequest>("DropRequest"),
      TableSetterOf<CreateRequest>("CreateRequest"),
      SetterOf<CreateRequest>("SetPrimaryKey", 2,
                              [](CreateRequest& r, const char* t) { r.SetPrimaryKey(t, t); }),
      SetterOf<CreateRequest>("SetCompositeKey", 2,
                              [](CreateRequest& r, const char* t) { r.SetCompositeKey(t, t); }),
      SetterOf<JoinRequest>("SetLeftJoin", 2,
                            [](JoinRequest& r, const char* t) { r.SetLeftJoin(t, t); }),
      SetterOf<JoinRequest>("SetRightJoin", 2,
                            [](JoinRequest& r, const char* t) { r.SetRightJoin(t, t); }),
  };
}

class SetterLeakTest : public LeakTest, public ::testing::WithParamInterface<Setter> {
 protected:
  std::vector<std::size_t> Times(std::size_t size) const {
    return std::vector<std::size_t>(GetParam().texts, size);
  }
};

TEST_P(SetterLeakTest, OneCallTakesArraysOfLengthPlusOneAndTheDestructorReleasesThem) {
  heap_spy::Start();
  const auto held = GetParam().held({"seven77"});
  EXPECT_EQ(Times(8), held);
  EXPECT_THAT(heap_spy::ArraysHeld(), IsEmpty());
}

TEST_P(SetterLeakTest, AnEmptyTextTakesOneByte) {
  heap_spy::Start();
  EXPECT_EQ(Times(1), GetParam().held({""}));
}

TEST_P(SetterLeakTest, NullTakesNothing) {
  heap_spy::Start();
  EXPECT_THAT(GetParam().held({nullptr}), IsEmpty());
}

TEST_P(SetterLeakTest, ARepeatedCallAbandonsTheEarlierTexts) {
  heap_spy::Start();
  GetParam().call({"seven77", "x", "three"});
  auto abandoned = Times(8);
  abandoned.insert(abandoned.end(), GetParam().texts, 2);
  EXPECT_EQ(abandoned, heap_spy::ArraysHeld());
}

INSTANTIATE_TEST_SUITE_P(, SetterLeakTest, ::testing::ValuesIn(Setters()),
                         [](const auto& test) { return test.param.name; });

TEST_F(LeakTest, ARepeatedSetterReplacesWhatIsNotNull) {
  std::string first;
  std::string second;
  BasePath path;
  path.SetPath("/a", "a.db");
  path.SetPath(nullptr, "b.db");
  path.GetPath(first, second);
  EXPECT_EQ("/a", first);
  EXPECT_EQ("b.db", second);

  JoinRequest join;
  join.SetLeftJoin("person", "uid");
  join.SetLeftJoin("people", "id");
  join.GetLeftJoin(first, second);
  EXPECT_EQ("people", first);
  EXPECT_EQ("id", second);

  CreateRequest create;
  create.SetPrimaryKey("uid", "TEXT");
  create.SetPrimaryKey(nullptr, "INTEGER");
  create.GetPrimaryKey(first, second);
  EXPECT_EQ("uid", first);
  EXPECT_EQ("INTEGER", second);

  UpsertRequest upsert;
  upsert.SetTable("accounts");
  upsert.SetTable("contacts");
  upsert.GetTable(first);
  EXPECT_EQ("contacts", first);
}

TEST_F(LeakTest, EveryFailedOpenLeavesItsHandle) {
  UpsertRequest request;
  request.SetPath("/nonexistent-directory", "app.db");
  Database database;
  for (int time = 0; time < 3; ++time) {
    EXPECT_EQ(SQLITE_CANTOPEN, database.Upsert(request));
  }
  EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(3));
  sqlite_spy::CloseConnections();
}

// A file that is really locked: SQLite gives a text for each busy attempt, and
// only the last one is freed.
class LockedFileTest : public LeakTest {};

TEST_F(LockedFileTest, AWriteGivesUpAfterTheLimitAndLeavesTheTextsOfAllAttemptsButTheLast) {
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT)");
  DropRequest request;
  file.Locate(request);
  request.SetTable("t");
  Database database;
  const int before = sqlite_spy::MemoryBlocks();
  {
    const Locker locker(file, "BEGIN EXCLUSIVE");
    EXPECT_EQ(SQLITE_BUSY, database.DropTable(request));
  }
  EXPECT_EQ(before + 16, sqlite_spy::MemoryBlocks());
  EXPECT_THAT(journal::Of({journal::Kind::kSleep}), SizeIs(15));
  EXPECT_EQ(fake::Line(6, "Database.cpp", "DropTable", "DropTable FAILED[5]: database is locked"),
            fake::Lines().back());
  EXPECT_THAT(file.Rows("SELECT name FROM sqlite_master"), ElementsAre("t"));
}

}  // namespace
