// Memory runs out at every point of filling and of reading requests and cursors.

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Containers.h"
#include "Contract.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "FakePlatform.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "Operations.h"
#include "Points.h"

namespace {

using Kind = FaultPoint::Kind;

// Longer than what a string keeps inside itself.
const char* const kOld = "a text that was there before, longer than a short string";
const char* const kNew = "another text that is new, also longer than a short string";

using Request = std::unique_ptr<BasePath>;

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
    int points = 0;
    for (const bool protectsLog : {false, true}) {
      for (const Kind kind : {Kind::kOnce, Kind::kAlways}) {
        int successes = 0;
        while (FailAt(filling, protectsLog, kind, successes)) {
          ++successes;
        }
        points += successes;
      }
    }
    EXPECT_GT(points, 0);
    points::Add("filling", "memory", points);
  }

 private:
  // Answers whether the call has such a point.
  template <typename Object>
  static bool FailAt(const Filling<Object>& filling, bool protectsLog, Kind kind, int successes) {
    SCOPED_TRACE("allocation " + std::to_string(successes + 1) +
                 (kind == Kind::kOnce ? "" : " and all after it") +
                 (protectsLog ? ", protected lines" : ""));
    auto object = Prepared(filling);
    StartAfresh(protectsLog);
    heap_spy::Start();
    heap_spy::FailAfter(successes, kind);
    bool threw = false;
    try {
      filling.call(*object);
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    const bool failed = heap_spy::FailNever() > 0;
    heap_spy::Stop();
    EXPECT_EQ(failed, threw);
    const std::vector<std::string> locks = journal::Of({journal::Kind::kMutex});
    const bool hasMetLock = contract::JudgeLocks(locks, threw);
    if (failed) {
      // Unless lines take memory, all of it is taken under the lock, if there is one.
      EXPECT_TRUE(protectsLog || hasMetLock == !locks.empty());
      JudgeLines(filling, protectsLog);
      JudgeNextCall(filling, object);
    }
    return failed && !HasFailure();
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

// Every setter of texts: of two, the first may be set and not the second.
class TextFillSweepTest : public FillSweepTest,
                          public ::testing::WithParamInterface<operations::RequestClass> {};

TEST_P(TextFillSweepTest, SetsAllTextsOrThose) {
  for (const operations::TextField& field : GetParam().fields) {
    SCOPED_TRACE(field.name);
    const auto set = [&field](Request& request, const char* first, const char* second) {
      field.set(*request, first, second);
    };
    Filling<Request> filling;
    filling.make = [] { return std::make_unique<Request>(GetParam().make()); };
    filling.prepare = [set](Request& request) { set(request, kOld, kOld); };
    filling.call = [set](Request& request) { set(request, kNew, kNew); };
    filling.show = [&field](Request& request) {
      std::string first;
      std::string second;
      field.get(*request, first, second);
      return first + "|" + second;
    };
    if (field.isPair) {
      filling.partly = [set](Request& request) { set(request, kNew, nullptr); };
      filling.abandons = true;
    }
    SweepOver(filling);
  }
}

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

TEST_P(TextFillSweepTest, ARequestIsMadeOrLeavesNothing) {
  SweepOver(Construction<BasePath>(GetParam().make));
}

TEST_F(FillSweepTest, ACursorIsMadeOrLeavesNothing) {
  SweepOver(Construction<Cursor>([] { return std::make_unique<Cursor>(); }));
}

TEST_F(FillSweepTest, ADatabaseIsMadeOrLeavesNothing) {
  SweepOver(Construction<Database>([] { return std::make_unique<Database>(); }));
}

INSTANTIATE_TEST_SUITE_P(, TextFillSweepTest, ::testing::ValuesIn(operations::RequestClasses()),
                         [](const auto& test) { return test.param.name; });

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

  template <typename Value>
  void SweepOverRead(const std::string& function, int (Cursor::*get)(const char*, Value&),
                     const Value& old, const std::string& complaint) {
    int points = 0;
    for (const Kind kind : {Kind::kOnce, Kind::kAlways}) {
      int successes = 0;
      while (FailAt({successes, kind}, function, get, old, complaint)) {
        ++successes;
      }
      points += successes;
    }
    EXPECT_GT(points, 0);
    points::Add("reading", "memory", points);
  }

  struct Point {
    int successes;
    Kind kind;
  };

  // Answers whether the read has such a point.
  template <typename Value>
  bool FailAt(const Point& point, const std::string& function,
              int (Cursor::*get)(const char*, Value&), const Value& old,
              const std::string& complaint) {
    SCOPED_TRACE("allocation " + std::to_string(point.successes + 1));
    ForgetEvents();
    Value value = old;
    std::optional<int> result;
    heap_spy::Start();
    heap_spy::FailAfter(point.successes, point.kind);
    try {
      result = (m_cursor.*get)(kOld, value);
    } catch (const std::bad_alloc&) {
    }
    const bool failed = heap_spy::FailNever() > 0;
    heap_spy::Stop();
    if (!failed) {
      EXPECT_EQ(0, result);
      return false;
    }
    EXPECT_EQ(old, value);
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    std::vector<std::string> lines = {fake::Trace("Cursor.cpp", function)};
    if (result) {
      EXPECT_EQ(1, result);
      lines.push_back(fake::Line(6, "Cursor.cpp", function, complaint));
    }
    EXPECT_EQ(lines, fake::Lines());
    return !HasFailure();
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
  std::vector<std::string> columns = {"old"};
  int points = 0;
  for (;; ++points) {
    heap_spy::Start();
    heap_spy::FailAfter(points);
    try {
      m_cursor.GetColumn(columns);
    } catch (const std::bad_alloc&) {
    }
    heap_spy::Stop();
    if (heap_spy::FailNever() == 0) {
      break;
    }
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    EXPECT_EQ(std::vector<std::string>{"old"}, columns);
  }
  EXPECT_GT(points, 0);
  points::Add("reading", "memory", points);
  EXPECT_EQ(std::vector<std::string>{kOld}, columns);
}

}  // namespace
