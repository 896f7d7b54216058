#include "Cursor.h"

#include <locale>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Containers.h"
#include "LibraryTest.h"

namespace {

using fake::Line;
using fake::Trace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_copy_constructible_v<Cursor> && std::is_copy_assignable_v<Cursor>);
static_assert(std::has_virtual_destructor_v<Cursor>);

const std::string kFile = "Cursor.cpp";

class CursorTest : public LibraryTest {
 protected:
  // Two columns, `rows` rows: id 1, 2, …; name a, b, …
  void FillRows(int rows) {
    cursor.SetColumn("id");
    cursor.SetColumn("name");
    for (int row = 0; row < rows; ++row) {
      cursor.SetData("id", std::to_string(row + 1).c_str());
      cursor.SetData("name", std::string(1, static_cast<char>('a' + row)).c_str());
    }
    ForgetEvents();
  }
  // One row, in the column "x" beside another.
  void FillCell(const std::string& text) {
    cursor.Initialize();
    cursor.SetColumn("x");
    cursor.SetColumn("other");
    cursor.SetData("x", text.c_str());
    cursor.SetData("other", "");
    cursor.MoveToPosition(0);
    ForgetEvents();
  }
  std::vector<std::string> Columns() {
    std::vector<std::string> columns;
    EXPECT_EQ(0, cursor.GetColumn(columns));
    return columns;
  }
  Cursor cursor;
};

// Storage.

TEST_F(CursorTest, AFreshCursorHasNoColumnsAndNoRows) {
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_EQ(-1, cursor.GetPosition());
  std::vector<std::string> columns{"old"};
  EXPECT_EQ(1, cursor.GetColumn(columns));
  EXPECT_THAT(columns, ElementsAre("old"));
}

TEST_F(CursorTest, ReturnsColumnsInTheOrderOfDeclaration) {
  FillRows(2);
  EXPECT_EQ(2, cursor.GetCount());
  std::vector<std::string> columns{"old", "older", "oldest"};
  EXPECT_EQ(0, cursor.GetColumn(columns));
  EXPECT_THAT(columns, ElementsAre("id", "name"));
}

TEST_F(CursorTest, CountsTheCellsOfTheColumnThatComesSecondByName) {
  cursor.SetColumn("b");
  cursor.SetColumn("a");
  for (const char* cell : {"1", "2", "3"}) {
    cursor.SetData("b", cell);
  }
  cursor.SetData("a", "1");
  cursor.SetData("a", "2");
  EXPECT_EQ(3, cursor.GetCount());
}

TEST_F(CursorTest, OrdersNamesByteWiseWithTheShorterFirst) {
  cursor.SetColumn("ab");
  cursor.SetColumn("a");
  cursor.SetColumn("B");
  cursor.SetData("a", "1");
  EXPECT_EQ(1, cursor.GetCount());  // "B" < "a" < "ab"
}

TEST_F(CursorTest, CountsOneForOneColumnWhateverItsCells) {
  cursor.SetColumn("x");
  EXPECT_EQ(1, cursor.GetCount());
  for (const char* cell : {"1", "2", "3", "4", "5"}) {
    cursor.SetData("x", cell);
  }
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, CountsTheNamesOfOneColumn) {
  cursor.SetColumn("x");
  cursor.SetColumn("x");
  EXPECT_EQ(2, cursor.GetCount());
}

TEST_F(CursorTest, CountsZeroForColumnsWithoutRows) {
  FillRows(0);
  EXPECT_EQ(0, cursor.GetCount());
}

TEST_F(CursorTest, AColumnDeclaredAgainKeepsItsCells) {
  cursor.SetColumn("x");
  cursor.SetData("x", "kept");
  cursor.SetColumn("x");
  EXPECT_THAT(Columns(), ElementsAre("x", "x"));
  std::string value;
  cursor.MoveToPosition(0);
  EXPECT_EQ(0, cursor.GetString("x", value));
  EXPECT_EQ("kept", value);
}

TEST_F(CursorTest, DataForAnUnknownColumnJoinsTheColumnNames) {
  cursor.SetColumn("a");
  cursor.SetColumn("b");
  ForgetEvents();
  cursor.SetData("nosuch", "v");
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(0, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("a", "b", "v"));
  EXPECT_THAT(CellMapOf(cursor),
              ElementsAre(::testing::Pair("a", IsEmpty()), ::testing::Pair("b", IsEmpty())));
}

TEST_F(CursorTest, DataWithoutAnyColumnJoinsTheColumnNames) {
  cursor.SetData("nosuch", "v");
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("v"));
}

TEST_F(CursorTest, InitializeEmptiesEverything) {
  FillRows(2);
  cursor.MoveToPosition(1);
  cursor.Initialize();
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_EQ(-1, cursor.GetPosition());
  std::vector<std::string> columns;
  EXPECT_EQ(1, cursor.GetColumn(columns));
}

TEST_F(CursorTest, CopiesTheCallersTexts) {
  char column[] = "id";
  char value[] = "1";
  cursor.SetColumn(column);
  cursor.SetColumn("z");
  cursor.SetData(column, value);
  column[0] = value[0] = 'X';
  cursor.SetData("z", "2");
  cursor.MoveToNext();
  std::string text;
  EXPECT_EQ(0, cursor.GetString("id", text));
  EXPECT_EQ("1", text);
}

TEST_F(CursorTest, NullTextsThrow) {
  FillRows(1);
  EXPECT_THROW(cursor.SetColumn(nullptr), std::logic_error);
  EXPECT_THROW(cursor.SetData(nullptr, "v"), std::logic_error);
  EXPECT_THROW(cursor.SetData("id", nullptr), std::logic_error);
  EXPECT_THAT(Columns(), ElementsAre("id", "name"));
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, ShowDataLogDoesNothing) {
  FillRows(2);
  cursor.MoveToNext();
  cursor.ShowDataLog();
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(2, cursor.GetCount());
  EXPECT_EQ(0, cursor.GetPosition());
}

TEST_F(CursorTest, CopiesAreIndependent) {
  FillRows(1);
  cursor.MoveToNext();
  Cursor copy(cursor);
  EXPECT_EQ(0, copy.GetPosition());
  cursor.Initialize();
  std::string value;
  EXPECT_EQ(0, copy.GetString("name", value));
  EXPECT_EQ("a", value);
  cursor = copy;
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, OnlyConstructorDestructorAndGetColumnTraceInStorage) {
  ForgetEvents();
  {
    Cursor other;
    std::vector<std::string> columns;
    other.Initialize();
    other.SetColumn("a");
    other.SetData("a", "1");
    other.GetCount();
    other.GetColumn(columns);
    Cursor empty;
    empty.GetColumn(columns);
  }
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(kFile, "Cursor"), Trace(kFile, "GetColumn"),
                                         Trace(kFile, "Cursor"), Trace(kFile, "GetColumn"),
                                         Trace(kFile, "~Cursor"), Trace(kFile, "~Cursor")));
}

TEST_F(CursorTest, ConstructorTracesBeforeItLocks) {
  ForgetEvents();
  Cursor other;
  const auto events = journal::Of({journal::Kind::kLog, journal::Kind::kMutex});
  ASSERT_EQ(5U, events.size());
  EXPECT_EQ(Trace(kFile, "Cursor"), events[0]);
}

// Moves.

TEST_F(CursorTest, WalksForwardOverThreeRows) {
  FillRows(3);
  cursor.MoveToFirst();
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(0, cursor.MoveToNext());
    EXPECT_EQ(row, cursor.GetPosition());
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(3, cursor.MoveToNext());
  EXPECT_EQ(2, cursor.GetPosition());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, kFile, "MoveToNext", "Last Row")));
}

TEST_F(CursorTest, WalksBackwardOverThreeRows) {
  FillRows(3);
  cursor.MoveToLast();
  EXPECT_EQ(3, cursor.GetPosition());
  for (int row = 2; row >= 0; --row) {
    EXPECT_EQ(0, cursor.MoveToPrev());
    EXPECT_EQ(row, cursor.GetPosition());
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(2, cursor.MoveToPrev());
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, kFile, "MoveToPrev", "First Row")));
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
  EXPECT_EQ(3, cursor.MoveToNext());
  EXPECT_EQ(-1, cursor.GetPosition());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, kFile, "MoveToNext", "Last Row")));
  cursor.MoveToLast();
  EXPECT_EQ(0, cursor.GetPosition());
}

TEST_F(CursorTest, MovesWithoutColumns) {
  ForgetEvents();
  EXPECT_EQ(3, cursor.MoveToNext());
  EXPECT_EQ(-2, cursor.GetPosition());
  cursor.MoveToFirst();
  EXPECT_EQ(2, cursor.MoveToPrev());
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_EQ(1, cursor.MoveToPosition(0));
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, kFile, "MoveToNext", "Last Row"),
                                         Line(4, kFile, "MoveToPrev", "First Row"),
                                         Line(6, kFile, "MoveToPosition", "Invalid Position")));
  std::string value = "old";
  EXPECT_EQ(1, cursor.GetString("id", value));
  cursor.MoveToLast();
  EXPECT_EQ(-1, cursor.GetPosition());
}

TEST_F(CursorTest, OnlyTheFirstRowOfOneColumnIsReachable) {
  cursor.SetColumn("x");
  for (const char* cell : {"1", "2", "3"}) {
    cursor.SetData("x", cell);
  }
  cursor.MoveToFirst();
  EXPECT_EQ(0, cursor.MoveToNext());
  EXPECT_EQ(3, cursor.MoveToNext());
  EXPECT_EQ(0, cursor.GetPosition());
}

TEST_F(CursorTest, ValidPositionsAreThoseOfRows) {
  FillRows(2);
  EXPECT_FALSE(cursor.IsValidPosition(-1));
  EXPECT_TRUE(cursor.IsValidPosition(0));
  EXPECT_TRUE(cursor.IsValidPosition(1));
  EXPECT_FALSE(cursor.IsValidPosition(2));
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

TEST_F(CursorTest, MovesToAValidPosition) {
  FillRows(2);
  EXPECT_EQ(0, cursor.MoveToPosition(1));
  EXPECT_EQ(1, cursor.GetPosition());
  EXPECT_EQ(0, cursor.MoveToPosition(0));
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

TEST_F(CursorTest, RefusesAnInvalidPosition) {
  FillRows(2);
  cursor.MoveToPosition(1);
  for (const int position : {cursor.GetCount(), -1, 1000}) {
    ForgetEvents();
    EXPECT_EQ(1, cursor.MoveToPosition(position));
    EXPECT_EQ(1, cursor.GetPosition());
    EXPECT_THAT(fake::Lines(), ElementsAre(Line(6, kFile, "MoveToPosition", "Invalid Position")));
  }
}

TEST_F(CursorTest, FillingDoesNotMove) {
  FillRows(2);
  cursor.MoveToPosition(1);
  cursor.SetData("id", "3");
  cursor.SetData("name", "c");
  EXPECT_EQ(1, cursor.GetPosition());
  EXPECT_EQ(0, cursor.MoveToNext());
}

// Typed reads.

TEST_F(CursorTest, ReadsTheCellsOfTheCurrentRow) {
  FillRows(3);
  cursor.MoveToPosition(1);
  std::string text = "a longer text that is to be replaced whole";
  int integer = 0;
  double number = 0;
  EXPECT_EQ(0, cursor.GetString("name", text));
  EXPECT_EQ("b", text);
  EXPECT_EQ(0, cursor.GetInt("id", integer));
  EXPECT_EQ(2, integer);
  EXPECT_EQ(0, cursor.GetDouble("id", number));
  EXPECT_EQ(2.0, number);
}

// Few columns are found in another way than many; names are prefixes of each other,
// or differ in one place.
TEST_F(CursorTest, FindsTheColumnAmongAnyNumberOfColumns) {
  for (int count = 2; count <= 20; ++count) {
    cursor.Initialize();
    std::vector<std::string> names;
    for (int column = 0; column < count; ++column) {
      names.push_back("c" + std::to_string(column));
      cursor.SetColumn(names.back().c_str());
    }
    for (const std::string& name : names) {
      cursor.SetData(name.c_str(), ("cell of " + name).c_str());
    }
    cursor.SetData("c", "joins the names");
    ASSERT_EQ(0, cursor.MoveToPosition(0)) << count;
    for (const std::string& name : names) {
      std::string cell;
      EXPECT_EQ(0, cursor.GetString(name.c_str(), cell)) << count << ' ' << name;
      EXPECT_EQ("cell of " + name, cell) << count;
    }
    std::string cell;
    EXPECT_EQ(1, cursor.GetString("c", cell)) << count;
    EXPECT_EQ(1, cursor.GetString("c21", cell)) << count;
    names.emplace_back("joins the names");
    EXPECT_EQ(names, Columns()) << count;
  }
}

TEST_F(CursorTest, EveryReadTraces) {
  FillRows(1);
  cursor.MoveToPosition(0);
  std::string text;
  int integer = 0;
  double number = 0;
  cursor.GetString("id", text);
  cursor.GetInt("id", integer);
  cursor.GetDouble("id", number);
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(kFile, "GetString"), Trace(kFile, "GetInt"),
                                         Trace(kFile, "GetDouble")));
}

// The three reads fail alike, each in its own name.
class CursorReadFailureTest : public CursorTest {
 protected:
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
    EXPECT_THAT(fake::Lines(),
                ElementsAre(Trace(kFile, "GetString"), Line(6, kFile, "GetString", message),
                            Trace(kFile, "GetInt"), Line(6, kFile, "GetInt", message),
                            Trace(kFile, "GetDouble"), Line(6, kFile, "GetDouble", message)));
  }
};

TEST_F(CursorReadFailureTest, BeforeAnyMove) {
  FillRows(3);
  ExpectEveryReadFails("id", "CURSOR RANGE ERROR!!!");
}

TEST_F(CursorReadFailureTest, BehindTheLastRow) {
  FillRows(3);
  cursor.MoveToLast();
  ExpectEveryReadFails("id", "CURSOR RANGE ERROR!!!");
}

TEST_F(CursorReadFailureTest, OnColumnsWithoutRows) {
  FillRows(0);
  cursor.MoveToPrev();
  ExpectEveryReadFails("id", "CURSOR RANGE ERROR!!!");
}

TEST_F(CursorReadFailureTest, OnAnUnknownColumn) {
  FillRows(1);
  cursor.MoveToPosition(0);
  ExpectEveryReadFails("nosuch", "NO MATCHED ERROR!!!");
}

TEST_F(CursorReadFailureTest, OnAColumnThatDiffersInCase) {
  FillRows(1);
  cursor.MoveToPosition(0);
  ExpectEveryReadFails("ID", "NO MATCHED ERROR!!!");
}

TEST_F(CursorReadFailureTest, WithoutColumnsTheColumnIsMissedFirst) {
  ExpectEveryReadFails("id", "NO MATCHED ERROR!!!");
  cursor.MoveToPrev();
  ExpectEveryReadFails("id", "NO MATCHED ERROR!!!");
}

TEST_F(CursorReadFailureTest, OnAnUnknownColumnBeforeAnyMove) {
  FillRows(1);
  ExpectEveryReadFails("nosuch", "NO MATCHED ERROR!!!");
}

// Not part of the contract, but a read must stay inside its column.
TEST_F(CursorReadFailureTest, OnAColumnThatIsShorterThanTheCount) {
  cursor.SetColumn("a");
  cursor.SetColumn("b");
  cursor.SetData("b", "1");
  cursor.MoveToPosition(0);
  ExpectEveryReadFails("a", "CURSOR RANGE ERROR!!!");
}

TEST_F(CursorReadFailureTest, OnOneColumnWithoutCells) {
  cursor.SetColumn("x");
  cursor.MoveToPosition(0);
  ExpectEveryReadFails("x", "CURSOR RANGE ERROR!!!");
}

TEST_F(CursorTest, ReadOfANullColumnThrows) {
  FillRows(1);
  std::string text;
  int integer = 0;
  double number = 0;
  EXPECT_THROW(cursor.GetString(nullptr, text), std::logic_error);
  EXPECT_THROW(cursor.GetInt(nullptr, integer), std::logic_error);
  EXPECT_THROW(cursor.GetDouble(nullptr, number), std::logic_error);
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(kFile, "GetString"), Trace(kFile, "GetInt"),
                                         Trace(kFile, "GetDouble")));
}

struct IntCell {
  const char* text;
  int value;
};

TEST_F(CursorTest, ReadsTheIntegerThatACellBeginsWith) {
  for (const IntCell& cell : {IntCell{"42", 42},
                              {" 42", 42},
                              {"42abc", 42},
                              {"3.9", 3},
                              {"0x1A", 0},
                              {"-7", -7},
                              {"+8", 8},
                              {"\t\n 9", 9},
                              {"2147483647", 2147483647},
                              {"010", 10}}) {
    FillCell(cell.text);
    int value = -1;
    EXPECT_EQ(0, cursor.GetInt("x", value)) << cell.text;
    EXPECT_EQ(cell.value, value) << cell.text;
  }
}

TEST_F(CursorTest, ReportsACellThatHoldsNoInteger) {
  for (const char* text : {"", "abc", "99999999999", "-99999999999", " ", "-", ".5"}) {
    FillCell(text);
    int value = 77;
    EXPECT_EQ(1, cursor.GetInt("x", value)) << text;
    EXPECT_EQ(77, value) << text;
    EXPECT_THAT(fake::Lines(), ElementsAre(Trace(kFile, "GetInt"),
                                           Line(6, kFile, "GetInt", "CONVERT TO INT ERROR!!!")));
  }
}

struct DoubleCell {
  const char* text;
  double value;
};

TEST_F(CursorTest, ReadsTheDoubleThatACellBeginsWith) {
  for (const DoubleCell& cell : {DoubleCell{"2.5", 2.5},
                                 {"1e3", 1000},
                                 {"7 apples", 7},
                                 {" -0.25", -0.25},
                                 {".5", 0.5},
                                 {"42", 42}}) {
    FillCell(cell.text);
    double value = -1;
    EXPECT_EQ(0, cursor.GetDouble("x", value)) << cell.text;
    EXPECT_EQ(cell.value, value) << cell.text;
  }
}

TEST_F(CursorTest, ReportsACellThatHoldsNoDouble) {
  for (const char* text : {"", "x1", "1e999", "1e"}) {
    FillCell(text);
    double value = 7.5;
    EXPECT_EQ(1, cursor.GetDouble("x", value)) << text;
    EXPECT_EQ(7.5, value) << text;
    EXPECT_THAT(fake::Lines(),
                ElementsAre(Trace(kFile, "GetDouble"),
                            Line(6, kFile, "GetDouble", "CONVERT TO DOUBLE ERROR!!!")));
  }
}

// A stream reads by the locale that is global when it is made.
TEST_F(CursorTest, ReadsNumbersThroughADefaultStream) {
  struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  FillCell("2,5");
  double value = 0;
  const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPoint));
  const int result = cursor.GetDouble("x", value);
  std::locale::global(before);
  EXPECT_EQ(0, result);
  EXPECT_EQ(2.5, value);
}

TEST_F(CursorTest, ReadsIntegersThroughADefaultStreamToo) {
  struct Groups : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  FillCell("1.234.567");
  int value = 0;
  const std::locale before = std::locale::global(std::locale(std::locale(), new Groups));
  const int result = cursor.GetInt("x", value);
  std::locale::global(before);
  EXPECT_EQ(0, result);
  EXPECT_EQ(1234567, value);
}

TEST_F(CursorTest, ReadsAnEmptyText) {
  FillCell("");
  std::string value = "old";
  EXPECT_EQ(0, cursor.GetString("x", value));
  EXPECT_EQ("", value);
}

TEST_F(CursorTest, ReadsNeitherMoveNorChange) {
  FillRows(2);
  cursor.MoveToPosition(1);
  int value = 0;
  cursor.GetInt("id", value);
  cursor.GetInt("nosuch", value);
  EXPECT_EQ(1, cursor.GetPosition());
  EXPECT_EQ(2, cursor.GetCount());
}

TEST_F(CursorTest, OnlyTypedReadsAndGetColumnTraceInNavigation) {
  FillRows(2);
  cursor.MoveToFirst();
  cursor.MoveToLast();
  cursor.MoveToPrev();
  cursor.MoveToPosition(0);
  cursor.MoveToNext();
  cursor.IsValidPosition(0);
  cursor.GetPosition();
  cursor.GetCount();
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

}  // namespace
