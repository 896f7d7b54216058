// Several threads on the library, with the real platform libraries.

#include <VornMutex.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Containers.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "RunOnThreads.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "UpsertRequest.h"

namespace {

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
};

TEST_F(ThreadsTest, FillOneSet) {
  UpsertRequest request;
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      request.SetData(Column(thread, round), round);
      request.SetWhere(Column(thread, round), 0.5);
    }
  });
  BaseSet::ColumnMap map;
  request.GetDataMap(map);
  EXPECT_THAT(map, SizeIs(kThreads * kRounds));
  for (const auto& [column, round] : map) {
    EXPECT_EQ(std::to_string((column - Column(0, 0)) % kRounds), round);
  }
  request.GetWhereMap(map);
  EXPECT_THAT(map, SizeIs(kThreads * kRounds));
}

TEST_F(ThreadsTest, FillOneColumnList) {
  CreateRequest request;
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      request.SetColumnKey(Column(thread, round), "TEXT");
    }
  });
  CreateRequest::ColumnKeys keys;
  request.GetColumnKey(keys);
  EXPECT_THAT(keys, SizeIs(kThreads * kRounds));
}

TEST_F(ThreadsTest, FillOneCursor) {
  Cursor cursor;
  cursor.SetColumn("a");
  cursor.SetColumn("b");
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      cursor.SetData(thread % 2 == 0 ? "a" : "b", std::to_string(round).c_str());
    }
  });
  EXPECT_EQ(kThreads / 2 * kRounds, cursor.GetCount());
}

TEST_F(ThreadsTest, NameTheColumnsOfOneCursor) {
  Cursor cursor;
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = std::to_string(thread) + "of" + std::to_string(round);
      cursor.SetColumn(name.c_str());
      cursor.SetData(name.c_str(), name.c_str());
    }
  });
  std::vector<std::string> columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, SizeIs(kThreads * kRounds));
  cursor.MoveToNext();
  for (const std::string& column : columns) {
    std::string value;
    EXPECT_EQ(0, cursor.GetString(column.c_str(), value));
    EXPECT_EQ(column, value);
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

TEST_F(ThreadsTest, AnExceptionLeavesTheContainerUsable) {
  UpsertRequest request;
  RunOnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_ANY_THROW(request.SetData(Column(thread, round), static_cast<const char*>(nullptr)));
      request.SetData(Column(thread, round), "value");
    }
  });
  BaseSet::ColumnMap map;
  request.GetDataMap(map);
  EXPECT_THAT(map, SizeIs(kThreads * kRounds));
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
  std::vector<TemporaryDatabase> files(kThreads);
  RunOnThreads(kThreads, [&](int thread) {
    const TemporaryDatabase& file = files[static_cast<std::size_t>(thread)];
    CreateRequest create;
    file.Locate(create);
    create.SetTable("t");
    create.SetColumnKey("a", "INTEGER");
    EXPECT_EQ(0, database.CreateTable(create));
    for (int row = 0; row < 5; ++row) {
      UpsertRequest upsert;
      file.Locate(upsert);
      upsert.SetTable("t");
      upsert.SetData("a", row);
      EXPECT_EQ(0, database.Upsert(upsert));
    }
    SelectRequest select;
    file.Locate(select);
    select.SetTable("t");
    Cursor cursor;
    EXPECT_EQ(0, database.Select(select, cursor));
    EXPECT_EQ(5, cursor.GetCount());
  });
}

// The wait is real here: the file's holder lets go while the library retries.
TEST_F(ThreadsTest, AQueryWaitsForALockedFile) {
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT, b TEXT); INSERT INTO t VALUES ('1', '2')");
  SelectRequest request;
  file.Locate(request);
  request.SetTable("t");
  Cursor cursor;
  Database database;

  auto locker = std::make_unique<Locker>(file, "BEGIN EXCLUSIVE");
  const auto start = std::chrono::steady_clock::now();
  std::thread release([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    locker.reset();
  });
  EXPECT_EQ(0, database.Select(request, cursor));
  const auto waited = std::chrono::steady_clock::now() - start;
  release.join();
  EXPECT_GE(waited, std::chrono::milliseconds(150));
  EXPECT_EQ(1, cursor.GetCount());
}

}  // namespace
