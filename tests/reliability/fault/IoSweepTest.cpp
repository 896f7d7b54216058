// The file system fails at every call of every operation.

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "LibraryTest.h"
#include "ShimVfs.h"
#include "Sweep.h"

namespace {

// A call that fails, and with what.
struct Failing {
  std::string name, how;
  FileCall call;
  int result;
};

// Every kind of call with every kind of failure; what may be busy is busy, too. Some
// calls also do their work and report that they failed.
std::vector<Failing> AllFailing() {
  std::vector<Failing> all = {{"Open", "busy", FileCall::kOpen, SQLITE_BUSY},
                              {"Lock", "busy", FileCall::kLock, SQLITE_BUSY},
                              {"Write", "done", FileCall::kWrite, -SQLITE_IOERR_WRITE},
                              {"Sync", "done", FileCall::kSync, -SQLITE_IOERR_FSYNC},
                              {"Truncate", "done", FileCall::kTruncate, -SQLITE_IOERR_TRUNCATE},
                              {"Delete", "done", FileCall::kDelete, -SQLITE_IOERR_DELETE}};
  for (const Failing& each : std::initializer_list<Failing>{
           {"Open", "I/O error", FileCall::kOpen, SQLITE_IOERR},
           {"Read", "I/O error", FileCall::kRead, SQLITE_IOERR_READ},
           {"Write", "I/O error", FileCall::kWrite, SQLITE_IOERR_WRITE},
           {"Sync", "I/O error", FileCall::kSync, SQLITE_IOERR_FSYNC},
           {"Truncate", "I/O error", FileCall::kTruncate, SQLITE_IOERR_TRUNCATE},
           {"FileSize", "I/O error", FileCall::kFileSize, SQLITE_IOERR_FSTAT},
           {"Lock", "I/O error", FileCall::kLock, SQLITE_IOERR_LOCK},
           {"Unlock", "I/O error", FileCall::kUnlock, SQLITE_IOERR_UNLOCK},
           {"CheckReservedLock", "I/O error", FileCall::kCheckReservedLock,
            SQLITE_IOERR_CHECKRESERVEDLOCK},
           {"Delete", "I/O error", FileCall::kDelete, SQLITE_IOERR_DELETE},
           {"Access", "I/O error", FileCall::kAccess, SQLITE_IOERR_ACCESS},
       }) {
    all.push_back(each);
    all.push_back({each.name, "full", each.call, SQLITE_FULL});
    all.push_back({each.name, "not opened", each.call, SQLITE_CANTOPEN});
  }
  return all;
}

// A write is done when its journal is removed. Then its lock is released, and a file
// with auto_vacuum is cut.
bool MayComeAfterEffect(const Failing& failing, Found found) {
  return failing.call == FileCall::kUnlock ||
         (failing.call == FileCall::kDelete && failing.result < 0) ||
         (found == Found::kAutoVacuum &&
          (failing.call == FileCall::kTruncate || failing.call == FileCall::kFileSize));
}

class IoSweepTest : public LibraryTest,
                    public ::testing::WithParamInterface<operations::Operation> {
 protected:
  // Answers how many kinds of failure met a call.
  static std::size_t SweepOverAll(Found found) {
    std::size_t met = 0;
    for (const Failing& failing : AllFailing()) {
      SCOPED_TRACE(failing.how);
      FaultPoint point;
      const ShimVfs vfs([&](const FileEvent& event) {
        return event.call == failing.call && point.Fails() ? failing.result : SQLITE_OK;
      });
      Fault fault = {"files", failing.name, point};
      fault.mayComeAfterEffect = MayComeAfterEffect(failing, found);
      met += SweepOver(GetParam(), fault, found) > 0 ? 1U : 0U;
    }
    return met;
  }
};

TEST_P(IoSweepTest, EveryCall) { EXPECT_GT(SweepOverAll(Found::kFile), 0U); }

// To roll a journal back takes every kind of call.
TEST_P(IoSweepTest, EveryCallWithAHotJournal) {
  EXPECT_EQ(AllFailing().size(), SweepOverAll(Found::kHotJournal));
}

TEST_P(IoSweepTest, EveryCallWithAutoVacuum) { EXPECT_GT(SweepOverAll(Found::kAutoVacuum), 0U); }

INSTANTIATE_TEST_SUITE_P(, IoSweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

// The operations that succeed without a table make their file.
class NewFileSweepTest : public IoSweepTest {};

TEST_P(NewFileSweepTest, EveryCall) { EXPECT_GT(SweepOverAll(Found::kNoFile), 0U); }

INSTANTIATE_TEST_SUITE_P(, NewFileSweepTest,
                         ::testing::Values(operations::Get("CreateTable"),
                                           operations::Get("CheckExistTable")),
                         [](const auto& test) { return test.param.member; });

}  // namespace
