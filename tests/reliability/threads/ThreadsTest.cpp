// Several threads on the library, on the stubs of the platform.

#include <VornMutex.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <thread>

#include "Containers.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "Operations.h"
#include "RunOnThreads.h"
#include "TemporaryDatabase.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr int kThreads = 8;

// Column names with an address for each thread and round.
class ThreadsTest : public ::testing::Test {
 protected:
  static constexpr int kRounds = 300;
  static const char* Column(int thread, int round) {
    static const std::string names(static_cast<std::size_t>(kThreads * kRounds), 'c');
    return names.c_str() + thread * kRounds + round;
  }
  // Calls work(column, round) on every thread, for each of its columns.
  template <typename Work>
  static void OnEachColumn(Work work) {
    RunOnThreads(kThreads, [&](int thread) {
      for (int round = 0; round < kRounds; ++round) {
        work(Column(thread, round), round);
      }
    });
  }
};

// An exception leaves the map usable.
TEST_F(ThreadsTest, FillOneSet) {
  UpsertRequest request;
  OnEachColumn([&](const char* column, int round) {
    EXPECT_ANY_THROW(request.SetData(column, static_cast<const char*>(nullptr)));
    request.SetData(column, round);
    request.SetWhere(column, 0.5);
  });
  BaseSet::ColumnMap map;
  request.GetDataMap(map);
  EXPECT_THAT(map, SizeIs(kThreads * kRounds));
  EXPECT_EQ("299", map[Column(7, 299)]);
  request.GetWhereMap(map);
  EXPECT_THAT(map, SizeIs(kThreads * kRounds));
}

TEST_F(ThreadsTest, FillOneColumnList) {
  CreateRequest request;
  OnEachColumn([&](const char* column, int) { request.SetColumnKey(column, "TEXT"); });
  CreateRequest::ColumnKeys keys;
  request.GetColumnKey(keys);
  EXPECT_THAT(keys, SizeIs(kThreads * kRounds));
}

TEST_F(ThreadsTest, FillOneCursor) {
  Cursor cursor;
  cursor.SetColumn("shared");
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = std::to_string(thread) + "of" + std::to_string(round);
      cursor.SetColumn(name.c_str());
      cursor.SetData(name.c_str(), name.c_str());
      cursor.SetData("shared", name.c_str());
    }
  });
  std::vector<std::string> columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, SizeIs(1 + kThreads * kRounds));
  CellMap& cells = CellMapOf(cursor);
  EXPECT_THAT(cells, SizeIs(columns.size()));
  EXPECT_THAT(cells["shared"], SizeIs(kThreads * kRounds));
  cells.erase("shared");
  for (const auto& [name, own] : cells) {
    EXPECT_THAT(own, ElementsAre(name));
  }
}

// All that changes a cursor excludes all else that does.
TEST_F(ThreadsTest, FillAndEmptyOneCursor) {
  Cursor cursor;
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      if (thread == 0 && round % 10 == 0) {
        cursor.Initialize();
      } else if (thread % 2 == 0) {
        cursor.SetColumn(std::to_string(round % 7).c_str());
      } else {
        cursor.SetData(std::to_string(round % 7).c_str(), "value");
      }
    }
  });
  cursor.Initialize();
  EXPECT_EQ(-1, cursor.GetCount());
}

// A holder of the data map's lock keeps SetData out, and SetWhere not.
TEST_F(ThreadsTest, AValueWaitsForAValueAndNotForACondition) {
  UpsertRequest request;
  char name[32];
  std::snprintf(name, sizeof name, "%" PRIxPTR,
                reinterpret_cast<std::uintptr_t>(&DataMapOf(request)));
  VornMutex holder(name);
  holder.Lock();

  std::thread condition([&] { request.SetWhere("c", 1); });
  condition.join();  // hangs if it waits

  std::atomic<bool> isSet{false};
  std::thread value([&] {
    request.SetData("c", 1);
    isSet = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(isSet);
  holder.Unlock();
  value.join();
  EXPECT_TRUE(isSet);
}

TEST_F(ThreadsTest, OneDatabaseObjectServesThemOnFilesOfTheirOwn) {
  Database database;
  RunOnThreads(kThreads, [&](int) {
    for (const operations::Operation& operation : operations::All()) {
      TemporaryDatabase file;
      file.Run(operations::Schema());
      operations::Call call(operation, file, operation.PlainTexts());
      EXPECT_EQ(0, call.Run(database));
      EXPECT_EQ(operation.Plain().answer, call.Answer());
      EXPECT_EQ(operation.Plain().contents, operations::Contents(file));
    }
  });
}

}  // namespace
