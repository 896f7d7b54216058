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

// Longer than the buffer inside a std::string.
const char* const kOld = "a text that was there before, longer than a short string";
const char* const kNew = "another text that is new, also longer than a short string";

// An object, and a call on it that takes memory.
struct Filling {
  std::function<void()> call;
  std::function<std::string()> show;
  // What it may have done when memory ends, besides nothing.
  std::function<void()> partly = nullptr;
  // Whether what it did in part is abandoned when it is called again.
  bool abandons = false;
  // Whether it takes memory before it writes a line.
  bool takesMemoryFirst = false;
};
using Make = std::function<Filling()>;

class FillSweepTest : public LibraryTest {
 protected:
  void TearDown() override {
    heap_spy::Stop();
    LibraryTest::TearDown();
  }

  static void SweepOver(const Make& make) {
    for (const bool protectsLog : {false, true}) {
      ForEachPoint("filling", [&](int successes, FaultPoint::Kind kind) {
        SCOPED_TRACE(protectsLog ? "protected lines" : "plain lines");
        return FailAt(make, protectsLog, kind, successes);
      });
    }
  }

  // Tries every allocation: alone, and with all after it. `failAt` answers whether there was
  // such a point.
  static void ForEachPoint(
      const std::string& what,
      const std::function<bool(int successes, FaultPoint::Kind kind)>& failAt) {
    int points = 0;
    for (const FaultPoint::Kind kind : {FaultPoint::Kind::kOnce, FaultPoint::Kind::kAlways}) {
      int successes = 0;
      bool isPoint = true;
      while (isPoint && !HasFailure()) {
        SCOPED_TRACE("allocation " + std::to_string(successes + 1) +
                     (kind == FaultPoint::Kind::kOnce ? "" : " and all after it"));
        isPoint = failAt(successes, kind);
        successes += isPoint ? 1 : 0;
      }
      points += successes;
    }
    EXPECT_GT(points, 0);
    points::Count(what, "memory") += points;
  }

  // Calls once, with a point. Answers whether it failed; it throws then, unless it returns.
  template <typename Call>
  static bool FailsAt(int successes, FaultPoint::Kind kind, bool& threw, Call call) {
    heap_spy::Start();
    heap_spy::Point().Set(successes, kind);
    threw = false;
    try {
      call();
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    const bool failed = heap_spy::Point().Clear() > 0;
    heap_spy::Stop();
    return failed;
  }

 private:
  // Answers whether the call has such a point.
  static bool FailAt(const Make& make, bool protectsLog, FaultPoint::Kind kind, int successes) {
    Filling filling = make();
    StartAfresh(protectsLog);
    bool threw = false;
    const bool failed = FailsAt(successes, kind, threw, filling.call);
    EXPECT_EQ(failed, threw);
    const std::vector<std::string> locks = journal::Of({journal::Kind::kMutex});
    const bool hasMetLock = contract::JudgeLocks(locks, threw);
    if (failed) {
      // Unless lines take memory, all of it is taken under the lock, if there is one.
      EXPECT_TRUE(protectsLog || hasMetLock == !locks.empty());
      JudgeLines(make, protectsLog);
      JudgeNextCall(make, filling);
    }
    return failed;
  }

  // All lines come first; the rest of them may be missing if memory is taken before.
  static void JudgeLines(const Make& make, bool protectsLog) {
    const std::vector<std::string> lines = fake::Lines();
    const Filling other = make();
    StartAfresh(protectsLog);
    other.call();
    std::vector<std::string> whole = fake::Lines();
    if ((protectsLog || other.takesMemoryFirst) && lines.size() < whole.size()) {
      whole.resize(lines.size());
    }
    EXPECT_EQ(whole, lines);
  }

  static void StartAfresh(bool protectsLog) {
    ForgetEvents();
    fake::SetEncryption(protectsLog);
  }

  // How another object looks.
  static std::string Shown(const Make& make, bool isPartly, bool isCalled) {
    const Filling other = make();
    if (isPartly) {
      other.partly();
    }
    if (isCalled) {
      other.call();
    }
    return other.show();
  }

  // Nothing is done, or the part; the call can be made again.
  static void JudgeNextCall(const Make& make, Filling& filling) {
    const bool isPartly = filling.show() != Shown(make, false, false);
    if (isPartly) {
      ASSERT_TRUE(filling.partly) << "the object has changed: " << filling.show();
      EXPECT_EQ(Shown(make, true, false), filling.show());
    }
    heap_spy::Resume();
    filling.call();
    heap_spy::Stop();
    EXPECT_EQ(Shown(make, isPartly, true), filling.show());
    const int abandoned = isPartly && filling.abandons ? 1 : 0;
    filling = {};
    EXPECT_EQ(abandoned, heap_spy::BlocksHeld());
  }
};

// Of two texts, the first may be set and not the second.
class TextFillSweepTest : public FillSweepTest, public ::testing::WithParamInterface<FieldCase> {};

TEST_P(TextFillSweepTest, SetsAllTextsOrThose) {
  const operations::TextField& field = GetParam().field;
  SweepOver([&] {
    const std::shared_ptr<BasePath> request = GetParam().request.make();
    field.set(*request, kOld, kOld);
    const auto show = [=, &field] {
      std::string first;
      std::string second;
      field.get(*request, first, second);
      return first + "|" + second;
    };
    Filling filling = {[=, &field] { field.set(*request, kNew, kNew); }, show};
    if (field.isPair) {
      filling.partly = [=, &field] { field.set(*request, kNew, nullptr); };
      filling.abandons = true;
    }
    return filling;
  });
}

INSTANTIATE_TEST_SUITE_P(, TextFillSweepTest,
                         ::testing::ValuesIn(FieldCases([](const FieldCase&) { return true; })),
                         NameOf);

// An object whose constructor runs out of memory does not come into being.
template <typename MakeObject>
Make Construction(MakeObject make) {
  return [make] {
    const auto object = std::make_shared<decltype(make())>();
    return Filling{[=] { *object = make(); },
                   [=] { return std::string(*object ? "made" : "not made"); }, nullptr, false,
                   true};
  };
}

TEST_F(FillSweepTest, ARequestIsMadeOrLeavesNothing) {
  for (const operations::RequestClass& request : operations::RequestClasses()) {
    SCOPED_TRACE(request.name);
    SweepOver(Construction(request.make));
  }
}

TEST_F(FillSweepTest, ACursorIsMadeOrLeavesNothing) {
  SweepOver(Construction([] { return std::make_unique<Cursor>(); }));
}

TEST_F(FillSweepTest, ADatabaseIsMadeOrLeavesNothing) {
  SweepOver(Construction([] { return std::make_unique<Database>(); }));
}

template <typename Value>
Filling EntryOf(Value value) {
  const auto set = std::make_shared<BaseSet>();
  set->SetData(kOld, kOld);
  return {[=] {
            set->SetData(kNew, value);
            set->SetWhere(kNew, value);
          },
          [=] {
            return ::testing::PrintToString(DataMapOf(*set)) +
                   ::testing::PrintToString(WhereMapOf(*set));
          },
          [=] { set->SetData(kNew, value); }};
}

TEST_F(FillSweepTest, SetDataAndSetWhere) {
  SweepOver([] { return EntryOf(kNew); });
  SweepOver([] { return EntryOf(-2147483647); });
  SweepOver([] { return EntryOf(-1.2345678e-300); });
}

TEST_F(FillSweepTest, SetColumnKey) {
  SweepOver([] {
    const auto request = std::make_shared<CreateRequest>();
    request->SetColumnKey(kOld, kOld);
    return Filling{[=] { request->SetColumnKey(kNew, kNew); },
                   [=] { return ::testing::PrintToString(ColumnKeysOf(*request)); }};
  });
}

// Calls on a cursor with a column, and a row.
Make OfCursor(const std::function<void(Cursor&)>& call,
              const std::function<void(Cursor&)>& partly = nullptr) {
  return [=] {
    const auto cursor = std::make_shared<Cursor>();
    cursor->SetColumn(kOld);
    cursor->SetData(kOld, kOld);
    Filling filling = {[=] { call(*cursor); },
                       [=] { return ::testing::PrintToString(contract::ImageOf(*cursor)); }};
    if (partly) {
      filling.partly = [=] { partly(*cursor); };
    }
    return filling;
  };
}

TEST_F(FillSweepTest, SetColumnMayLeaveANameWithoutCells) {
  SweepOver(OfCursor([](Cursor& cursor) { cursor.SetColumn(kNew); },
                     [](Cursor& cursor) {
                       cursor.SetColumn(kNew);
                       CellMapOf(cursor).erase(kNew);
                     }));
}

TEST_F(FillSweepTest, SetData) {
  SweepOver(OfCursor([](Cursor& cursor) { cursor.SetData(kOld, kNew); }));
  SweepOver(OfCursor([](Cursor& cursor) { cursor.SetData(kNew, kNew); }));  // no such column
}

// What is read into stays as it was when memory ends.
template <typename Out>
Make Reading(const Out& old, const std::function<void(Cursor&, Out&)>& get) {
  return [=] {
    const auto cursor = std::make_shared<Cursor>();
    cursor->SetColumn(kOld);
    cursor->SetData(kOld, kNew);
    cursor->MoveToNext();
    const auto out = std::make_shared<Out>(old);
    return Filling{[=] { get(*cursor, *out); }, [=] { return ::testing::PrintToString(*out); }};
  };
}

TEST_F(FillSweepTest, GetString) {
  SweepOver(Reading<std::string>(
      "old", [](Cursor& cursor, std::string& text) { cursor.GetString(kOld, text); }));
}

TEST_F(FillSweepTest, GetColumn) {
  using Columns = std::vector<std::string>;
  SweepOver(Reading<Columns>({"old"},
                             [](Cursor& cursor, Columns& columns) { cursor.GetColumn(columns); }));
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
    ForEachPoint("reading", [&](int successes, FaultPoint::Kind kind) {
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

TEST_F(ReadSweepTest, GetInt) {
  SweepOverRead("GetInt", &Cursor::GetInt, 7, "CONVERT TO INT ERROR!!!");
}

TEST_F(ReadSweepTest, GetDouble) {
  SweepOverRead("GetDouble", &Cursor::GetDouble, 0.5, "CONVERT TO DOUBLE ERROR!!!");
}

}  // namespace
