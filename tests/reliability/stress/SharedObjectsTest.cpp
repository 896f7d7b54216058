// One object, filled by several threads at once and then used: nothing of what any
// of them set may be missing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "RunOnThreads.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "TestScale.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::UnorderedElementsAreArray;

constexpr int kThreads = 8;
constexpr int kColumnsEach = 20;
constexpr int kColumns = kThreads * kColumnsEach;

class SharedObjectsTest : public ::testing::Test {
 protected:
  SharedObjectsTest() {
    for (int column = 0; column < kColumns; ++column) {
      names.push_back("c" + std::to_string(column));
    }
  }

  // Calls set(name) from several threads, for the columns that are each thread's.
  template <typename Set>
  void ForEachColumn(Set set) {
    RunOnThreads(kThreads, [&](int thread) {
      for (int column = thread; column < kColumns; column += kThreads) {
        set(names[static_cast<std::size_t>(column)].c_str());
      }
    });
  }

  static std::string ValueOf(const std::string& column, const std::string& version) {
    return version + " of " + column;
  }

  template <typename Request>
  void Locate(Request& request) const {
    file.Locate(request);
    request.SetTable("t");
  }

  template <typename Request>
  void SetData(Request& request, const std::string& version) {
    ForEachColumn([&](const char* name) { request.SetData(name, ValueOf(name, version).c_str()); });
  }

  template <typename Request>
  void SetWhere(Request& request, const std::string& version) {
    ForEachColumn(
        [&](const char* name) { request.SetWhere(name, ValueOf(name, version).c_str()); });
  }

  int CreateTable() {
    CreateRequest request;
    Locate(request);
    ForEachColumn([&](const char* name) { request.SetColumnKey(name, "TEXT"); });
    return database.CreateTable(request);
  }

  int Upsert(const std::string& version) {
    UpsertRequest request;
    Locate(request);
    SetData(request, version);
    return database.Upsert(request);
  }

  int Update(const std::string& from, const std::string& to) {
    UpdateRequest request;
    Locate(request);
    RunOnThreads(2, [&](int thread) {
      if (thread == 0) {
        SetData(request, to);
      } else {
        SetWhere(request, from);
      }
    });
    return database.Update(request);
  }

  // The only row that has this version in all columns.
  void ExpectRow(const std::string& version) {
    SelectRequest request;
    Locate(request);
    SetWhere(request, version);
    Cursor cursor;
    ASSERT_EQ(0, database.Select(request, cursor));
    ASSERT_EQ(1, cursor.GetCount());
    cursor.MoveToNext();
    for (const std::string& name : names) {
      std::string value;
      EXPECT_EQ(0, cursor.GetString(name.c_str(), value));
      EXPECT_EQ(ValueOf(name, version), value);
    }
  }

  TemporaryDatabase file;
  Database database;
  std::vector<std::string> names;
};

TEST_F(SharedObjectsTest, RequestsCarryWhatAllThreadsHaveSet) {
  for (int round = 0; round < test_scale::Scaled(5); ++round) {
    const std::string version = std::to_string(round);
    ASSERT_EQ(0, CreateTable());  // in later rounds it is there
    ASSERT_EQ(0, Upsert("first" + version));
    ExpectRow("first" + version);
    ASSERT_EQ(0, Update("first" + version, "second" + version));
    ExpectRow("second" + version);
  }
}

TEST_F(SharedObjectsTest, ACursorHoldsWhatAllThreadsHaveSet) {
  constexpr int kRows = 10;
  Cursor cursor;
  for (int round = 0; round < test_scale::Scaled(20); ++round) {
    cursor.Initialize();
    ForEachColumn([&](const char* name) {
      cursor.SetColumn(name);
      for (int row = 0; row < kRows; ++row) {
        cursor.SetData(name, ValueOf(name, std::to_string(round + row)).c_str());
      }
    });

    std::vector<std::string> columns;
    EXPECT_EQ(0, cursor.GetColumn(columns));
    EXPECT_THAT(columns, UnorderedElementsAreArray(names));
    ASSERT_EQ(kRows, cursor.GetCount());
    for (int row = 0; cursor.MoveToNext() == 0; ++row) {
      for (const std::string& name : names) {
        std::string value;
        EXPECT_EQ(0, cursor.GetString(name.c_str(), value));
        EXPECT_EQ(ValueOf(name, std::to_string(round + row)), value);
      }
    }
  }
}

}  // namespace
