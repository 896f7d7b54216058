// Memory runs out at every point of filling and of reading requests and cursors.

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "Containers.h"
#include "Contract.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "FakePlatform.h"
#include "FieldCases.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "Points.h"

namespace {

using Kind = FaultPoint::Kind;

// Longer than what a string keeps inside itself.
const char* const kOld = "a text that was there before, longer than a short string";
const char* const kNew = "another text that is new, also longer than a short string";

// A call that takes memory, on an object of its own.
template <typename Object>
struct Filling {
  std::function<std::unique_ptr<Object>()> make = [] { return std::make_unique<Object>(); };
  std::function<void(Object&)> prepare;
  std::function<void(Object&)> call;
  std::function<std::string(Object&)> show;
  // What it may have done when memory ends, besides nothing.
  std::function<void(Object&)> partly = nullptr;
  // Whether what it did in part is abandoned when it is called again.
  bool abandons = false;
  // Whether it takes memory before it writes a line.
  bool takesMemoryFirst = false;
};

class FillSweepTest : public LibraryTest {
 protected:
  void TearDown() override {
    heap_spy::Stop();
    LibraryTest::TearDown();
  }

  template <typename Object>
  static void SweepOver(const Filling<Object>& filling) {
    for (const bool protectsLog : {false, true}) {
      ForEachPoint("filling", [&](int successes, Kind kind) {
        SCOPED_TRACE(protectsLog ? "protected lines" : "plain lines");
        return FailAt(filling, protectsLog, kind, successes);
      });
    }
  }

  // Tries every allocation: alone, and with all after it. `failAt` answers whether there was
  // such a point.
  static void ForEachPoint(const std::string& what,
                           const std::function<bool(int successes, Kind kind)>& failAt) {
    int points = 0;
    for (const Kind kind : {Kind::kOnce, Kind::kAlways}) {
      int successes = 0;
      bool isPoint = true;
      while (isPoint && !HasFailure()) {
        SCOPED_TRACE("allocation " + std::to_string(successes + 1) +
                     (kind == Kind::kOnce ? "" : " and all after it"));
        isPoint = failAt(successes, kind);
        successes += isPoint ? 1 : 0;
      }
      points += successes;
    }
    EXPECT_GT(points, 0);
    points::Add(what, "memory", points);
  }

  // Calls once, with a point. Answers whether it failed; it throws then, unless it returns.
  template <typename Call>
  static bool FailsAt(int successes, Kind kind, bool& threw, Call call) {
    heap_spy::Start();
    heap_spy::FailAfter(successes, kind);
    threw = false;
    try {
      call();
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    const bool failed = heap_spy::FailNever() > 0;
    heap_spy::Stop();
    return failed;
  }

 private:
  // Answers whether the call has such a point.
  template <typename Object>
  static bool FailAt(const Filling<Object>& filling, bool protectsLog, Kind kind, int successes) {
    auto object = Prepared(filling);
    StartAfresh(protectsLog);
    bool threw = false;
    const bool failed = FailsAt(successes, kind, threw, [&] { filling.call(*object); });
    EXPECT_EQ(failed, threw);
    const std::vector<std::string> locks = journal::Of({journal::Kind::kMutex});
    const bool hasMetLock = contract::JudgeLocks(locks, threw);
    if (failed) {
      // Unless lines take memory, all of it is taken under the lock, if there is one.
      EXPECT_TRUE(protectsLog || hasMetLock == !locks.empty());
      JudgeLines(filling, protectsLog);
      JudgeNextCall(filling, object);
    }
    return failed;
  }

  // All lines come first; the rest of them may be missing if memory is taken before.
  template <typename Object>
  static void JudgeLines(const Filling<Object>& filling, bool protectsLog) {
    const std::vector<std::string> lines = fake::Lines();
    auto object = Prepared(filling);
    StartAfresh(protectsLog);
    filling.call(*object);
    std::vector<std::string> whole = fake::Lines();
    if ((protectsLog || filling.takesMemoryFirst) && lines.size() < whole.size()) {
      whole.resize(lines.size());
    }
    EXPECT_EQ(whole, lines);
  }

  static void StartAfresh(bool protectsLog) {
    ForgetEvents();
    fake::SetEncryption(protectsLog);
  }

  template <typename Object>
  static std::unique_ptr<Object> Prepared(const Filling<Object>& filling) {
    auto object = filling.make();
    if (filling.prepare) {
      filling.prepare(*object);
    }
    return object;
  }

  // How an object looks after an action.
  template <typename Object>
  static std::string Shown(const Filling<Object>& filling,
                           const std::function<void(Object&)>& action) {
    auto object = Prepared(filling);
    if (action) {
      action(*object);
    }
    return filling.show(*object);
  }

  // Nothing is done, or the part; the call can be made again.
  template <typename Object>
  static void JudgeNextCall(const Filling<Object>& filling, std::unique_ptr<Object>& object) {
    const bool isUnchanged = filling.show(*object) == Shown<Object>(filling, nullptr);
    if (!isUnchanged) {
      ASSERT_TRUE(filling.partly) << "the object has changed: " << filling.show(*object);
      EXPECT_EQ(Shown(filling, filling.partly), filling.show(*object));
    }
    heap_spy::Resume();
    filling.call(*object);
    heap_spy::Stop();
    EXPECT_EQ(Shown<Object>(filling,
                            [&](Object& other) {
                              if (!isUnchanged) {
                                filling.partly(other);
                              }
                              filling.call(other);
                            }),
              filling.show(*object));
    object.reset();
    EXPECT_EQ(!isUnchanged && filling.abandons ? 1 : 0, heap_spy::BlocksHeld());
  }
};

// Of two texts, the first may be set and not the second.
class TextFillSweepTest : public FillSweepTest, public ::testing::WithParamInterface<FieldCase> {};

TEST_P(TextFillSweepTest, SetsAllTextsOrThose) {
  const operations::TextField& field = GetParam().field;
  Filling<BasePath> filling;
  filling.make = GetParam().request.make;
  filling.prepare = [&](BasePath& request) { field.set(request, kOld, kOld); };
  filling.call = [&](BasePath& request) { field.set(request, kNew, kNew); };
  filling.show = [&](BasePath& request) {
    std::string first;
    std::string second;
    field.get(request, first, second);
    return first + "|" + second;
  };
  if (field.isPair) {
    filling.partly = [&](BasePath& request) { field.set(request, kNew, nullptr); };
    filling.abandons = true;
  }
  SweepOver(filling);
}

INSTANTIATE_TEST_SUITE_P(, TextFillSweepTest,
                         ::testing::ValuesIn(FieldCases([](const FieldCase&) { return true; })),
                         NameOf);

// An object whose constructor runs out of memory does not come into being.
template <typename Object, typename Make>
Filling<std::unique_ptr<Object>> Construction(Make make) {
  Filling<std::unique_ptr<Object>> filling;
  filling.call = [make](std::unique_ptr<Object>& object) { object = make(); };
  filling.show = [](std::unique_ptr<Object>& object) {
    return std::string(object ? "made" : "not made");
  };
  filling.takesMemoryFirst = true;
  return filling;
}

TEST_F(FillSweepTest, ARequestIsMadeOrLeavesNothing) {
  for (const operations::RequestClass& request : operations::RequestClasses()) {
    SCOPED_TRACE(request.name);
    SweepOver(Construction<BasePath>(request.make));
  }
}

TEST_F(FillSweepTest, ACursorIsMadeOrLeavesNothing) {
  SweepOver(Construction<Cursor>([] { return std::make_unique<Cursor>(); }));
}

TEST_F(FillSweepTest, ADatabaseIsMadeOrLeavesNothing) {
  SweepOver(Construction<Database>([] { return std::make_unique<Database>(); }));
}

template <typename Value>
Filling<BaseSet> EntryOf(Value value) {
  Filling<BaseSet> filling;
  filling.prepare = [](BaseSet& set) { set.SetData(kOld, kOld); };
  filling.call = [value](BaseSet& set) {
    set.SetData(kNew, value);
    set.SetWhere(kNew, value);
  };
  filling.partly = [value](BaseSet& set) { set.SetData(kNew, value); };
  filling.show = [](BaseSet& set) {
    return ::testing::PrintToString(DataMapOf(set)) + ::testing::PrintToString(WhereMapOf(set));
  };
  return filling;
}

TEST_F(FillSweepTest, SetDataAndSetWhereOfText) { SweepOver(EntryOf(kNew)); }

TEST_F(FillSweepTest, SetDataAndSetWhereOfInteger) { SweepOver(EntryOf(-2147483647)); }

TEST_F(FillSweepTest, SetDataAndSetWhereOfDouble) { SweepOver(EntryOf(-1.2345678e-300)); }

TEST_F(FillSweepTest, SetColumnKey) {
  Filling<CreateRequest> filling;
  filling.prepare = [](CreateRequest& request) { request.SetColumnKey(kOld, kOld); };
  filling.call = [](CreateRequest& request) { request.SetColumnKey(kNew, kNew); };
  filling.show = [](CreateRequest& request) {
    return ::testing::PrintToString(ColumnKeysOf(request));
  };
  SweepOver(filling);
}

std::string ShowCursor(Cursor& cursor) {
  return ::testing::PrintToString(contract::ImageOf(cursor));
}

TEST_F(FillSweepTest, SetColumn) {
  Filling<Cursor> filling;
  filling.prepare = [](Cursor& cursor) { cursor.SetColumn(kOld); };
  filling.call = [](Cursor& cursor) { cursor.SetColumn(kNew); };
  filling.show = ShowCursor;
  // Named, and without cells.
  filling.partly = [](Cursor& cursor) {
    cursor.SetColumn(kNew);
    CellMapOf(cursor).erase(kNew);
  };
  SweepOver(filling);
}

TEST_F(FillSweepTest, SetData) {
  Filling<Cursor> filling;
  filling.prepare = [](Cursor& cursor) {
    cursor.SetColumn(kOld);
    cursor.SetData(kOld, kOld);
  };
  filling.call = [](Cursor& cursor) { cursor.SetData(kOld, kNew); };
  filling.show = ShowCursor;
  SweepOver(filling);
}

TEST_F(FillSweepTest, SetDataOfAnAbsentColumn) {
  Filling<Cursor> filling;
  filling.prepare = [](Cursor& cursor) { cursor.SetColumn(kOld); };
  filling.call = [](Cursor& cursor) { cursor.SetData(kNew, kNew); };
  filling.show = ShowCursor;
  SweepOver(filling);
}

// A number is read through a stream, which takes an end of memory for a cell that
// does not hold one.
class ReadSweepTest : public FillSweepTest {
 protected:
  ReadSweepTest() {
    m_cursor.SetColumn(kOld);
    m_cursor.SetData(kOld, "0.3333333333333333333333333333333333333333 of something");
    m_cursor.MoveToNext();
    ForgetEvents();
  }

  // It throws, or complains, and leaves the value.
  template <typename Value>
  void SweepOverRead(const std::string& function, int (Cursor::*get)(const char*, Value&),
                     const Value& old, const std::string& complaint) {
    ForEachPoint("reading", [&](int successes, Kind kind) {
      ForgetEvents();
      Value value = old;
      int result = 0;
      bool threw = false;
      if (!FailsAt(successes, kind, threw, [&] { result = (m_cursor.*get)(kOld, value); })) {
        EXPECT_EQ(0, result);
        return false;
      }
      EXPECT_EQ(old, value);
      EXPECT_EQ(0, heap_spy::BlocksHeld());
      std::vector<std::string> lines = {fake::Trace("Cursor.cpp", function)};
      if (!threw) {
        EXPECT_EQ(1, result);
        lines.push_back(fake::Line(6, "Cursor.cpp", function, complaint));
      }
      EXPECT_EQ(lines, fake::Lines());
      return true;
    });
  }

  Cursor m_cursor;
};

TEST_F(ReadSweepTest, GetString) {
  SweepOverRead("GetString", &Cursor::GetString, std::string("old"), "no complaint");
}

TEST_F(ReadSweepTest, GetInt) {
  SweepOverRead("GetInt", &Cursor::GetInt, 7, "CONVERT TO INT ERROR!!!");
}

TEST_F(ReadSweepTest, GetDouble) {
  SweepOverRead("GetDouble", &Cursor::GetDouble, 0.5, "CONVERT TO DOUBLE ERROR!!!");
}

TEST_F(ReadSweepTest, GetColumn) {
  std::vector<std::string> columns;
  ForEachPoint("reading", [&](int successes, Kind kind) {
    columns = {"old"};
    bool threw = false;
    if (!FailsAt(successes, kind, threw, [&] { m_cursor.GetColumn(columns); })) {
      return false;
    }
    EXPECT_TRUE(threw);
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    EXPECT_EQ(std::vector<std::string>{"old"}, columns);
    return true;
  });
  EXPECT_EQ(std::vector<std::string>{kOld}, columns);
}

}  // namespace
