#include "Cursor.h"

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "CommaLocale.h"
#include "Containers.h"
#include "LibraryTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;

static_assert(std::is_copy_constructible_v<Cursor> && std::is_copy_assignable_v<Cursor>);
static_assert(std::has_virtual_destructor_v<Cursor>);

class CursorTest : public LibraryTest {
 protected:
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
    ForgetEvents();
  }
  // One row, in the column "x" beside another.
  void FillCell(const char* text) {
    cursor.Initialize();
    Declare({"x", "other"});
    Fill("x", {text});
    Fill("other", {""});
    cursor.MoveToPosition(0);
    ForgetEvents();
  }

  std::vector<std::string> Columns() {
    std::vector<std::string> columns{"old", "older", "oldest"};
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
    std::vector<std::string> columns{"old"};
    EXPECT_EQ(1, cursor.GetColumn(columns));
    EXPECT_THAT(columns, ElementsAre("old"));
  }

  Cursor cursor;
};

// Storage.

TEST_F(CursorTest, AFreshCursorHasNoColumnsAndNoRows) { ExpectEmpty(); }

TEST_F(CursorTest, InitializeEmptiesEverything) {
  FillRows(2);
  cursor.MoveToPosition(1);
  cursor.Initialize();
  ExpectEmpty();
}

TEST_F(CursorTest, ReturnsColumnsInTheOrderOfDeclaration) {
  Declare({"name", "id", "kind"});
  EXPECT_THAT(Columns(), ElementsAre("name", "id", "kind"));
}

TEST_F(CursorTest, CountsTheCellsOfTheColumnThatComesSecondByName) {
  Declare({"b", "a"});
  Fill("b", {"1", "2", "3"});
  Fill("a", {"1", "2"});
  EXPECT_EQ(3, cursor.GetCount());
}

TEST_F(CursorTest, OrdersNamesByteWiseWithTheShorterFirst) {
  Declare({"ab", "a", "B"});
  Fill("a", {"1"});
  EXPECT_EQ(1, cursor.GetCount());  // "B" < "a" < "ab"
}

TEST_F(CursorTest, CountsOneForOneColumnWhateverItsCells) {
  Declare({"x"});
  EXPECT_EQ(1, cursor.GetCount());
  Fill("x", {"1", "2", "3", "4", "5"});
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, CountsTheNamesOfOneColumn) {
  Declare({"x", "x"});
  EXPECT_EQ(2, cursor.GetCount());
}

TEST_F(CursorTest, CountsZeroForColumnsWithoutRows) {
  FillRows(0);
  EXPECT_EQ(0, cursor.GetCount());
}

TEST_F(CursorTest, AColumnDeclaredAgainKeepsItsCells) {
  Declare({"x"});
  Fill("x", {"kept"});
  Declare({"x"});
  EXPECT_THAT(Columns(), ElementsAre("x", "x"));
  cursor.MoveToPosition(0);
  EXPECT_EQ("kept", Text(cursor, "x"));
}

TEST_F(CursorTest, DataForAnUnknownColumnJoinsTheColumnNames) {
  Declare({"a", "b"});
  ForgetEvents();
  Fill("nosuch", {"v"});
  EXPECT_THAT(fake::Lines(), IsEmpty());
  EXPECT_EQ(0, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("a", "b", "v"));
  EXPECT_THAT(CellMapOf(cursor), ElementsAre(Pair("a", IsEmpty()), Pair("b", IsEmpty())));
}

TEST_F(CursorTest, DataWithoutAnyColumnJoinsTheColumnNames) {
  Fill("nosuch", {"v"});
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_THAT(Columns(), ElementsAre("v"));
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
  EXPECT_EQ("a", Text(copy, "name"));
  cursor = copy;
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(CursorTest, OnlyConstructorDestructorReadsAndGetColumnTrace) {
  ForgetEvents();
  {
    Cursor other;
    std::vector<std::string> columns;
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
    other.GetPosition();
    other.GetCount();
    int number = 0;
    double real = 0;
    other.GetString("a", columns[0]);
    other.GetInt("a", number);
    other.GetDouble("a", real);
  }
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace("Cursor"), Trace("GetColumn"), Trace("GetColumn"),
                                         Trace("GetString"), Trace("GetInt"), Trace("GetDouble"),
                                         Trace("~Cursor")));
}

TEST_F(CursorTest, ConstructorTracesBeforeItLocks) {
  ForgetEvents();
  Cursor other;
  const auto events = journal::Of({journal::Kind::kLog, journal::Kind::kMutex});
  ASSERT_EQ(5U, events.size());
  EXPECT_EQ(Trace("Cursor"), events[0]);
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
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, "MoveToNext", "Last Row")));
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
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(4, "MoveToPrev", "First Row")));
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
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Line(4, "MoveToNext", "Last Row"), Line(4, "MoveToPrev", "First Row"),
                          Line(6, "MoveToPosition", "Invalid Position")));
  cursor.MoveToLast();
  EXPECT_EQ(-1, cursor.GetPosition());
}

TEST_F(CursorTest, OnlyTheFirstRowOfOneColumnIsReachable) {
  Declare({"x"});
  Fill("x", {"1", "2", "3"});
  EXPECT_EQ(0, cursor.MoveToNext());
  EXPECT_EQ(3, cursor.MoveToNext());
  EXPECT_EQ(0, cursor.GetPosition());
}

TEST_F(CursorTest, MovesToTheRowsAndNowhereElse) {
  FillRows(2);
  for (const int position : {1, 0}) {
    EXPECT_TRUE(cursor.IsValidPosition(position));
    EXPECT_EQ(0, cursor.MoveToPosition(position));
    EXPECT_EQ(position, cursor.GetPosition());
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
  cursor.MoveToPosition(1);
  for (const int position : {2, -1, 1000}) {
    ForgetEvents();
    EXPECT_FALSE(cursor.IsValidPosition(position));
    EXPECT_EQ(1, cursor.MoveToPosition(position));
    EXPECT_EQ(1, cursor.GetPosition());
    EXPECT_THAT(fake::Lines(), ElementsAre(Line(6, "MoveToPosition", "Invalid Position")));
  }
}

TEST_F(CursorTest, FillingDoesNotMove) {
  FillRows(2);
  cursor.MoveToPosition(1);
  Fill("id", {"3"});
  Fill("name", {"c"});
  EXPECT_EQ(1, cursor.GetPosition());
  EXPECT_EQ(0, cursor.MoveToNext());
}

// Typed reads.

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
    std::vector<std::string> names;
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
    std::string cell;
    EXPECT_EQ(1, cursor.GetString("c", cell)) << count;
    EXPECT_EQ(1, cursor.GetString("c21", cell)) << count;
    names.emplace_back("joins the names");
    EXPECT_EQ(names, Columns()) << count;
  }
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
    std::vector<std::string> lines;
    for (const char* function : {"GetString", "GetInt", "GetDouble"}) {
      lines.push_back(Trace(function));
      lines.push_back(Line(6, function, message));
    }
    EXPECT_THAT(fake::Lines(), ElementsAreArray(lines));
  }
  void ExpectOutOfRange(const char* column) {
    ExpectEveryReadFails(column, "CURSOR RANGE ERROR!!!");
  }
  void ExpectNotMatched(const char* column) { ExpectEveryReadFails(column, "NO MATCHED ERROR!!!"); }
};

TEST_F(CursorReadFailureTest, BeforeTheFirstRowAndBehindTheLast) {
  FillRows(3);
  ExpectOutOfRange("id");
  cursor.MoveToLast();
  ExpectOutOfRange("id");
}

TEST_F(CursorReadFailureTest, OnColumnsWithoutRows) {
  FillRows(0);
  cursor.MoveToPrev();
  ExpectOutOfRange("id");
}

TEST_F(CursorReadFailureTest, OnAnUnknownColumnOrOneThatDiffersInCase) {
  FillRows(1);
  cursor.MoveToPosition(0);
  ExpectNotMatched("nosuch");
  ExpectNotMatched("ID");
}

TEST_F(CursorReadFailureTest, TheColumnIsMissedBeforeTheRow) {
  ExpectNotMatched("id");
  cursor.MoveToPrev();
  ExpectNotMatched("id");
  cursor.MoveToFirst();
  FillRows(1);
  ExpectNotMatched("nosuch");
}

// Not part of the contract, but a read must stay inside its column.
TEST_F(CursorReadFailureTest, OnAColumnThatIsShorterThanTheCount) {
  Declare({"a", "b"});
  Fill("b", {"1"});
  cursor.MoveToPosition(0);
  ExpectOutOfRange("a");
}

TEST_F(CursorReadFailureTest, OnOneColumnWithoutCells) {
  Declare({"x"});
  cursor.MoveToPosition(0);
  ExpectOutOfRange("x");
}

TEST_F(CursorReadFailureTest, ANullColumnThrowsAfterTheTrace) {
  FillRows(1);
  std::string text;
  int integer = 0;
  double number = 0;
  EXPECT_THROW(cursor.GetString(nullptr, text), std::logic_error);
  EXPECT_THROW(cursor.GetInt(nullptr, integer), std::logic_error);
  EXPECT_THROW(cursor.GetDouble(nullptr, number), std::logic_error);
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace("GetString"), Trace("GetInt"), Trace("GetDouble")));
}

TEST_F(CursorTest, ReadsTheIntegerThatACellBeginsWith) {
  const std::vector<std::pair<const char*, int>> cells = {
      {"42", 42}, {" 42", 42}, {"42abc", 42}, {"3.9", 3},    {"0x1A", 0},
      {"-7", -7}, {"+8", 8},   {"010", 10},   {"\t\n 9", 9}, {"2147483647", 2147483647}};
  for (const auto& [text, expected] : cells) {
    FillCell(text);
    int value = -1;
    EXPECT_EQ(0, cursor.GetInt("x", value)) << text;
    EXPECT_EQ(expected, value) << text;
  }
}

TEST_F(CursorTest, ReportsACellThatHoldsNoInteger) {
  for (const char* text : {"", "abc", "99999999999", "-99999999999", " ", "-", ".5"}) {
    FillCell(text);
    int value = 77;
    EXPECT_EQ(1, cursor.GetInt("x", value)) << text;
    EXPECT_EQ(77, value) << text;
    EXPECT_THAT(fake::Lines(),
                ElementsAre(Trace("GetInt"), Line(6, "GetInt", "CONVERT TO INT ERROR!!!")));
  }
}

TEST_F(CursorTest, ReadsTheDoubleThatACellBeginsWith) {
  const std::vector<std::pair<const char*, double>> cells = {
      {"2.5", 2.5}, {"1e3", 1000}, {"7 apples", 7}, {" -0.25", -0.25}, {".5", 0.5}, {"42", 42}};
  for (const auto& [text, expected] : cells) {
    FillCell(text);
    double value = -1;
    EXPECT_EQ(0, cursor.GetDouble("x", value)) << text;
    EXPECT_EQ(expected, value) << text;
  }
}

TEST_F(CursorTest, ReportsACellThatHoldsNoDouble) {
  for (const char* text : {"", "x1", "1e999", "1e"}) {
    FillCell(text);
    double value = 7.5;
    EXPECT_EQ(1, cursor.GetDouble("x", value)) << text;
    EXPECT_EQ(7.5, value) << text;
    EXPECT_THAT(fake::Lines(), ElementsAre(Trace("GetDouble"),
                                           Line(6, "GetDouble", "CONVERT TO DOUBLE ERROR!!!")));
  }
}

TEST_F(CursorTest, ReadsNumbersThroughADefaultStream) {
  FillCell("1.234.567,5");
  int integer = 0;
  double number = 0;
  const CommaLocale locale;
  EXPECT_EQ(0, cursor.GetInt("x", integer));
  EXPECT_EQ(1234567, integer);
  EXPECT_EQ(0, cursor.GetDouble("x", number));
  EXPECT_EQ(1234567.5, number);
}

TEST_F(CursorTest, ReadsAnEmptyText) {
  FillCell("");
  EXPECT_EQ("", Text(cursor, "x"));
}

}  // namespace
