// A cell's text, which is the whole input, read as each type.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Cursor.h"
#include "FakePlatform.h"
#include "FuzzTarget.h"
#include "Journal.h"
#include "NumberModel.h"

namespace {

using ::testing::ElementsAre;

constexpr const char* kColumn = "column";

void ForgetEvents() {
  journal::Clear();
  fake::ResetPlatform();
}

// Reads the cell: a number reaches the value, and everything else leaves it as it
// was and says so.
template <typename Number>
void ExpectNumber(const std::optional<Number>& expected, Cursor& cursor,
                  int (Cursor::*read)(const char*, Number&), const std::string& function,
                  const std::string& failure) {
  constexpr Number kBefore = 77;
  Number value = kBefore;
  ForgetEvents();
  const int result = (cursor.*read)(kColumn, value);
  EXPECT_EQ(expected.value_or(kBefore), value);
  if (expected) {
    EXPECT_EQ(0, result);
    EXPECT_THAT(fake::Lines(), ElementsAre(fake::Trace("Cursor.cpp", function)));
  } else {
    EXPECT_EQ(1, result);
    EXPECT_THAT(fake::Lines(), ElementsAre(fake::Trace("Cursor.cpp", function),
                                           fake::Line(6, "Cursor.cpp", function, failure)));
  }
}

void ExpectText(const std::string& expected, Cursor& cursor) {
  std::string value = "before";
  ForgetEvents();
  EXPECT_EQ(0, cursor.GetString(kColumn, value));
  EXPECT_EQ(expected, value);
  EXPECT_THAT(fake::Lines(), ElementsAre(fake::Trace("Cursor.cpp", "GetString")));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Cells end where C's texts end.
  const std::string text =
      std::string(reinterpret_cast<const char*>(data), size).c_str();  // NOLINT
  ForgetEvents();
  Cursor cursor;
  for (const char* column : {kColumn, "other column"}) {
    cursor.SetColumn(column);
    cursor.SetData(column, text.c_str());
  }
  cursor.MoveToNext();
  ExpectNumber(number_model::IntIn(text), cursor, &Cursor::GetInt, "GetInt",
               "CONVERT TO INT ERROR!!!");
  ExpectNumber(number_model::DoubleIn(text), cursor, &Cursor::GetDouble, "GetDouble",
               "CONVERT TO DOUBLE ERROR!!!");
  ExpectText(text, cursor);
  return 0;
}
