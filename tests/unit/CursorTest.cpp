#include "Cursor.h"

#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "CommaLocale.h"
#include "Containers.h"
#include "LibraryTest.h"

namespace {

using journal::Kind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using Strings = std::vector<std::string>;

static_assert(std::is_copy_constructible_v<Cursor> && std::is_copy_assignable_v<Cursor>);
static_assert(std::has_virtual_destructor_v<Cursor>);

class CursorTest : public LibraryTest {
 protected:
  CursorTest() { ForgetEvents(); }

  static std::string Line(int priority, const std::string& function, const std::string& message) {
    return fake::Line(priority, "Cursor.cpp", function, message);
  }
  static std::string Trace(const std::string& function) {
    return fake::Trace("Cursor.cpp", function);
  }

  void Declare(std::initializer_list<const char*> columns) {
    for (const char* column : columns) {
      cursor.SetColumn(column);
    }
  }
  void Fill(const char* column, std::initializer_list<const char*> cells) {
    for (const char* cell : cells) {
      cursor.SetData(column, cell);
    }
  }
  // Two columns and up to three rows.
  void FillRows(int rows) {
    Declare({"id", "name"});
    for (int row = 0; row < rows; ++row) {
      cursor.SetData("id", std::to_string(row + 1).c_str());
      cursor.SetData("name", std::string(1, "abc"[row]).c_str());
    }
  }
  // One row, in the column "x" beside another.
  void FillCell(const char* text) {
    cursor.Initialize();
    Declare({"x", "other"});
    Fill("x", {text});
    Fill("other", {""});
    cursor.MoveToPosition(0);
  }

  Strings Columns() {
    Strings columns{"old", "older", "oldest"};
    EXPECT_EQ(0, cursor.GetColumn(columns));
    return columns;
  }
  static std::string Text(Cursor& cursor, const char* column) {
    std::string text = "a longer text that is to be replaced whole";
    EXPECT_EQ(0, cursor.GetString(column, text)) << column;
    return text;
  }
  void ExpectEmpty() {
    EXPECT_EQ(-1, cursor.GetCount());
    EXPECT_EQ(-1, cursor.GetPosition());
    Strings columns{"old"};
    EXPECT_EQ(1, cursor.GetColumn(columns));
    EXPECT_THAT(columns, ElementsAre("old"));
  }
  // Expects the result of a move, the position after it, and its line unless it succeeds.
  void ExpectMove(int result, int position, int (Cursor::*move)()) {
    ForgetEvents();
    EXPECT_EQ(result, (cursor.*move)());
    EXPECT_EQ(position, cursor.GetPosition());
    Strings lines;
    if (result != 0) {
      lines = {result == 3 ? Line(4, "MoveToNext", "Last Row")
                           : Line(4, "MoveToPrev", "First Row")};
    }
    EXPECT_EQ(lines, fake::Lines());
  }
  void ExpectJump(bool isRow, int from, int to) {
    cursor.MoveToPosition(from);
    ForgetEvents();
    EXPECT_EQ(isRow, cursor.IsValidPosition(to));
    EXPECT_EQ(isRow ? 0 : 1, cursor.MoveToPosition(to));
    EXPECT_EQ(isRow ? to : from, cursor.GetPosition());
    EXPECT_EQ(isRow ? Strings{} : Strings{Line(6, "MoveToPosition", "Invalid Position")},
              fake::Lines());
  }
  // The three reads fail alike, each in its own name.
  void ExpectEveryReadFails(const char* column, const std::string& message) {
    std::string text = "old";
    int integer = 77;
    double number = 7.5;
    ForgetEvents();
    EXPECT_EQ(1, cursor.GetString(column, text));
    EXPECT_EQ(1, cursor.GetInt(column, integer));
    EXPECT_EQ(1, cursor.GetDouble(column, number));
    EXPECT_EQ("old", text);
    EXPECT_EQ(77, integer);
    EXPECT_EQ(7.5, number);
    Strings lines;
    for (const char* function : {"GetString", "GetInt", "GetDouble"}) {
      lines.push_back(Trace(function));
      lines.push_back(Line(6, function, message));
    }
    EXPECT_EQ(lines, fake::Lines());
  }
  void ExpectOffRow(const char* column) { ExpectEveryReadFails(column, "CURSOR RANGE ERROR!!!"); }
  void ExpectUnknown(const char* column) { ExpectEveryReadFails(column, "NO MATCHED ERROR!!!"); }

  Cursor cursor;
};

// Storage.

TEST_F(CursorTest, IsEmptyWhenMadeOrInitialized) {
  ExpectEmpty();
  FillRows(2);
  cursor.MoveToPosition(1);
  cursor.Initialize();
  ExpectEmpty();
}

TEST_F(CursorTest, CountsTheCellsOfTheColumnThatComesSecondByName) {
  Declare({"b", "a"});
  EXPECT_EQ(0, cursor.GetCount());
  Fill("b", {"1", "2", "3"});
  Fill("a", {"1", "2"});
  EXPECT_EQ(3, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("b", "a"));
}

TEST_F(CursorTest, OrdersNamesByteWiseWithTheShorterFirst) {
  Declare({"ab", "a", "B"});
  Fill("a", {"1"});
  EXPECT_EQ(1, cursor.GetCount());  // "B" < "a" < "ab"
}

TEST_F(CursorTest, CountsTheNamesOfOneColumnWhateverItsCells) {
  Declare({"x"});
  EXPECT_EQ(1, cursor.GetCount());
  Fill("x", {"1", "2", "3", "4", "5"});
  EXPECT_EQ(1, cursor.GetCount());
  Declare({"x"});
  EXPECT_EQ(2, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("x", "x"));
  cursor.MoveToPosition(0);
  EXPECT_EQ("1", Text(cursor, "x"));
}

TEST_F(CursorTest, DataForAnUnknownColumnJoinsTheColumnNames) {
  Fill("nosuch", {"v"});
  EXPECT_EQ(-1, cursor.GetCount());
  Declare({"a", "b"});
  Fill("nosuch", {"w"});
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(0, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("v", "a", "b", "w"));
  EXPECT_THAT(CellMapOf(cursor), ElementsAre(Pair("a", IsEmpty()), Pair("b", IsEmpty())));
}

TEST_F(CursorTest, CopiesTheCallersTexts) {
  char column[] = "id";
  char value[] = "1";
  Declare({column, "z"});
  Fill(column, {value});
  column[0] = value[0] = 'X';
  Fill("z", {"2"});
  cursor.MoveToNext();
  EXPECT_EQ("1", Text(cursor, "id"));
}

TEST_F(CursorTest, NullTextsThrowAndChangeNothing) {
  FillRows(1);
  EXPECT_THROW(cursor.SetColumn(nullptr), std::logic_error);
  EXPECT_THROW(cursor.SetData(nullptr, "v"), std::logic_error);
  EXPECT_THROW(cursor.SetData("id", nullptr), std::logic_error);
  EXPECT_THAT(Columns(), ElementsAre("id", "name"));
  EXPECT_THAT(CellMapOf(cursor),
              ElementsAre(Pair("id", ElementsAre("1")), Pair("name", ElementsAre("a"))));
}

TEST_F(CursorTest, CopiesAreIndependent) {
  FillRows(1);
  cursor.MoveToNext();
  Cursor copy(cursor);
  EXPECT_EQ(0, copy.GetPosition());
  cursor.Initialize();
  EXPECT_EQ("a", Text(copy, "name"));
  cursor = copy;
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, OnlyConstructorDestructorReadsAndGetColumnTraceAndOnlyChangesLock) {
  {
    Cursor other;
    Strings columns;
    other.GetColumn(columns);
    other.Initialize();
    other.SetColumn("a");
    other.SetData("a", "1");
    other.GetColumn(columns);
    other.MoveToFirst();
    other.MoveToNext();
    other.MoveToLast();
    other.MoveToPrev();
    other.MoveToPosition(0);
    other.IsValidPosition(0);
    other.ShowDataLog();
    EXPECT_EQ(0, other.GetPosition());
    EXPECT_EQ(1, other.GetCount());
    int number = 0;
    double real = 0;
    other.GetString("a", columns[0]);
    other.GetInt("a", number);
    other.GetDouble("a", real);
  }
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace("Cursor"), Trace("GetColumn"), Trace("GetColumn"),
                                         Trace("GetString"), Trace("GetInt"), Trace("GetDouble"),
                                         Trace("~Cursor")));
  EXPECT_EQ(Trace("Cursor"), journal::Of({Kind::kLog, Kind::kMutex}).front());
  // Of the constructor, Initialize, SetColumn and SetData.
  EXPECT_THAT(journal::Of({Kind::kMutex}), SizeIs(4 * 4));
}

// Moves.

TEST_F(CursorTest, WalksForwardOverThreeRows) {
  FillRows(3);
  cursor.MoveToFirst();
  for (int row = 0; row < 3; ++row) {
    ExpectMove(0, row, &Cursor::MoveToNext);
  }
  ExpectMove(3, 2, &Cursor::MoveToNext);
}

TEST_F(CursorTest, WalksBackwardOverThreeRows) {
  FillRows(3);
  cursor.MoveToLast();
  EXPECT_EQ(3, cursor.GetPosition());
  for (int row = 2; row >= 0; --row) {
    ExpectMove(0, row, &Cursor::MoveToPrev);
  }
  ExpectMove(2, 0, &Cursor::MoveToPrev);
}

// The line is written before the position is put back, which shows when it cannot be.
TEST_F(CursorTest, StaysOutsideTheRowsWhenTheEndCannotBeLogged) {
  FillRows(3);
  cursor.MoveToPosition(2);
  fake::ThrowAtLoggerCall(1);
  EXPECT_THROW(cursor.MoveToNext(), std::bad_alloc);
  EXPECT_EQ(3, cursor.GetPosition());
  cursor.MoveToPosition(0);
  fake::ThrowAtLoggerCall(1);
  EXPECT_THROW(cursor.MoveToPrev(), std::bad_alloc);
  EXPECT_EQ(-1, cursor.GetPosition());
}

TEST_F(CursorTest, MovesOverColumnsWithoutRows) {
  FillRows(0);
  ExpectMove(3, -1, &Cursor::MoveToNext);
  cursor.MoveToLast();
  EXPECT_EQ(0, cursor.GetPosition());
}

TEST_F(CursorTest, MovesWithoutColumns) {
  ExpectMove(3, -2, &Cursor::MoveToNext);
  cursor.MoveToFirst();
  ExpectMove(2, 0, &Cursor::MoveToPrev);
  ExpectJump(false, 0, 0);
  cursor.MoveToLast();
  EXPECT_EQ(-1, cursor.GetPosition());
}

TEST_F(CursorTest, OnlyTheFirstRowOfOneColumnIsReachable) {
  Declare({"x"});
  Fill("x", {"1", "2", "3"});
  ExpectMove(0, 0, &Cursor::MoveToNext);
  ExpectMove(3, 0, &Cursor::MoveToNext);
}

TEST_F(CursorTest, MovesToTheRowsAndNowhereElse) {
  FillRows(2);
  ExpectJump(true, 0, 1);
  ExpectJump(true, 1, 0);
  for (const int position : {2, -1, 1000}) {
    ExpectJump(false, 1, position);
  }
}

// Reads.

TEST_F(CursorTest, ReadsTheCellsOfTheCurrentRowAndDoesNotMove) {
  FillRows(3);
  cursor.MoveToPosition(1);
  int integer = 0;
  double number = 0;
  EXPECT_EQ("b", Text(cursor, "name"));
  EXPECT_EQ(0, cursor.GetInt("id", integer));
  EXPECT_EQ(2, integer);
  EXPECT_EQ(0, cursor.GetDouble("id", number));
  EXPECT_EQ(2.0, number);
  EXPECT_EQ(1, cursor.GetPosition());
  EXPECT_EQ(3, cursor.GetCount());
}

// Few columns are found in another way than many; names are prefixes of each other,
// or differ in one place.
TEST_F(CursorTest, FindsTheColumnAmongAnyNumberOfColumns) {
  for (int count = 2; count <= 20; ++count) {
    cursor.Initialize();
    Strings names;
    for (int column = 0; column < count; ++column) {
      names.push_back("c" + std::to_string(column));
      cursor.SetColumn(names.back().c_str());
    }
    for (const std::string& name : names) {
      cursor.SetData(name.c_str(), ("cell of " + name).c_str());
    }
    Fill("c", {"joins the names"});
    ASSERT_EQ(0, cursor.MoveToPosition(0)) << count;
    for (const std::string& name : names) {
      EXPECT_EQ("cell of " + name, Text(cursor, name.c_str())) << count;
    }
    ExpectUnknown("c");
    ExpectUnknown("c21");
    names.emplace_back("joins the names");
    EXPECT_EQ(names, Columns()) << count;
  }
}

TEST_F(CursorTest, NoReadSucceedsOffTheRows) {
  FillRows(0);
  cursor.MoveToPrev();
  ExpectOffRow("id");
  FillRows(3);
  cursor.MoveToFirst();
  ExpectOffRow("id");
  cursor.MoveToLast();
  ExpectOffRow("id");
}

// The column is looked for before the row.
TEST_F(CursorTest, NoReadSucceedsOnAnUnknownColumnOrOneThatDiffersInCase) {
  ExpectUnknown("id");
  FillRows(1);
  for (int step = 0; step < 2; ++step) {
    ExpectUnknown("nosuch");
    ExpectUnknown("ID");
    cursor.MoveToNext();
  }
}

// Not part of the contract, but a read must stay inside its column.
TEST_F(CursorTest, NoReadSucceedsOnAColumnThatIsShorterThanTheCount) {
  Declare({"a"});
  cursor.MoveToPosition(0);
  ExpectOffRow("a");
  Declare({"b"});
  Fill("b", {"1"});
  cursor.MoveToPosition(0);
  ExpectOffRow("a");
}

TEST_F(CursorTest, ANullColumnThrowsAfterTheTrace) {
  FillRows(1);
  std::string text;
  int integer = 0;
  double number = 0;
  EXPECT_THROW(cursor.GetString(nullptr, text), std::logic_error);
  EXPECT_THROW(cursor.GetInt(nullptr, integer), std::logic_error);
  EXPECT_THROW(cursor.GetDouble(nullptr, number), std::logic_error);
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace("GetString"), Trace("GetInt"), Trace("GetDouble")));
}

class NumberTest : public CursorTest {
 protected:
  // Expects the number of the cell, or the report that it holds none.
  template <typename Number>
  void ExpectNumber(std::optional<Number> expected, int (Cursor::*read)(const char*, Number&),
                    const std::string& function, const std::string& failure) {
    ForgetEvents();
    Number value = 77;
    EXPECT_EQ(expected ? 0 : 1, (cursor.*read)("x", value));
    EXPECT_EQ(expected.value_or(77), value);
    Strings lines = {Trace(function)};
    if (!expected) {
      lines.push_back(Line(6, function, failure));
    }
    EXPECT_EQ(lines, fake::Lines());
  }
  void ExpectNumbers(const char* text, std::optional<int> integer, std::optional<double> number) {
    SCOPED_TRACE(text);
    FillCell(text);
    EXPECT_EQ(text, Text(cursor, "x"));
    ExpectNumber(integer, &Cursor::GetInt, "GetInt", "CONVERT TO INT ERROR!!!");
    ExpectNumber(number, &Cursor::GetDouble, "GetDouble", "CONVERT TO DOUBLE ERROR!!!");
  }
};

TEST_F(NumberTest, IsWhatTheCellBeginsWith) {
  for (const char* text : {"42", " 42", "42abc", "+42", "042", "\t\n 42"}) {
    ExpectNumbers(text, 42, 42);
  }
  ExpectNumbers("-7", -7, -7);
  ExpectNumbers("0x1A", 0, 0);
  ExpectNumbers("3.9", 3, 3.9);
  ExpectNumbers("2147483647", 2147483647, 2147483647);
  ExpectNumbers("2147483648", std::nullopt, 2147483648);
  ExpectNumbers("-99999999999", std::nullopt, -99999999999);
  ExpectNumbers("1e3", 1, 1000);
  ExpectNumbers(" -0.25", 0, -0.25);
  ExpectNumbers(".5", std::nullopt, 0.5);
  ExpectNumbers("1e999", 1, std::nullopt);
  ExpectNumbers("1e", 1, std::nullopt);
  for (const char* text : {"", " ", "-", "abc", "x1"}) {
    ExpectNumbers(text, std::nullopt, std::nullopt);
  }
}

TEST_F(NumberTest, IsReadThroughADefaultStream) {
  const CommaLocale locale;
  ExpectNumbers("1.234.567,5", 1234567, 1234567.5);
}

}  // namespace
