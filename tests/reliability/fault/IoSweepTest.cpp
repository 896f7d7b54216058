// The file system fails at every call of every operation.

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "FakePlatform.h"
#include "LibraryTest.h"
#include "ShimVfs.h"
#include "Sweep.h"

namespace {

// A call that fails, and with what.
struct Failing {
  std::string name;
  FileCall call;
  int result;
};

// Every kind of call with every kind of failure; what may be busy is busy, too. Some
// calls also do their work and report that they failed.
std::vector<Failing> AllFailing() {
  struct Named {
    const char* name;
    FileCall call;
    int ioError;
  };
  std::vector<Failing> all = {{"OpenBusy", FileCall::kOpen, SQLITE_BUSY},
                              {"LockBusy", FileCall::kLock, SQLITE_BUSY},
                              {"DoneWrite", FileCall::kWrite, -SQLITE_IOERR_WRITE},
                              {"DoneSync", FileCall::kSync, -SQLITE_IOERR_FSYNC},
                              {"DoneTruncate", FileCall::kTruncate, -SQLITE_IOERR_TRUNCATE},
                              {"DoneDelete", FileCall::kDelete, -SQLITE_IOERR_DELETE}};
  for (const Named& named : std::initializer_list<Named>{
           {"Open", FileCall::kOpen, SQLITE_IOERR},
           {"Read", FileCall::kRead, SQLITE_IOERR_READ},
           {"Write", FileCall::kWrite, SQLITE_IOERR_WRITE},
           {"Sync", FileCall::kSync, SQLITE_IOERR_FSYNC},
           {"Truncate", FileCall::kTruncate, SQLITE_IOERR_TRUNCATE},
           {"FileSize", FileCall::kFileSize, SQLITE_IOERR_FSTAT},
           {"Lock", FileCall::kLock, SQLITE_IOERR_LOCK},
           {"Unlock", FileCall::kUnlock, SQLITE_IOERR_UNLOCK},
           {"CheckReservedLock", FileCall::kCheckReservedLock, SQLITE_IOERR_CHECKRESERVEDLOCK},
           {"Delete", FileCall::kDelete, SQLITE_IOERR_DELETE},
           {"Access", FileCall::kAccess, SQLITE_IOERR_ACCESS},
       }) {
    all.push_back({std::string(named.name) + "IoError", named.call, named.ioError});
    all.push_back({std::string(named.name) + "Full", named.call, SQLITE_FULL});
    all.push_back({std::string(named.name) + "CantOpen", named.call, SQLITE_CANTOPEN});
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
  // Answers how many points there were.
  static int Sweep(const Failing& failing, Found found) {
    FaultPoint point;
    const ShimVfs vfs([&](const FileEvent& event) {
      return event.call == failing.call && point.Fails() ? failing.result : SQLITE_OK;
    });
    Fault fault;
    fault.kind = "files";
    fault.name = failing.name;
    fault.set = [&](int successes, FaultPoint::Kind kind) { point.Set(successes, kind); };
    fault.clear = [&] {
      point.Clear();
      return point.Failures();
    };
    fault.mayComeAfterEffect = MayComeAfterEffect(failing, found);
    return SweepOver(GetParam(), fault, found);
  }
};

TEST_P(IoSweepTest, EveryCall) {
  for (const Failing& failing : AllFailing()) {
    Sweep(failing, Found::kFile);
  }
}

TEST_P(IoSweepTest, EveryCallWithAHotJournal) {
  for (const Failing& failing : AllFailing()) {
    // To roll a journal back takes every kind of call.
    EXPECT_GT(Sweep(failing, Found::kHotJournal), 0) << failing.name;
  }
}

TEST_P(IoSweepTest, EveryCallWithAutoVacuum) {
  for (const Failing& failing : AllFailing()) {
    Sweep(failing, Found::kAutoVacuum);
  }
}

INSTANTIATE_TEST_SUITE_P(, IoSweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

// The operations that succeed without a table make their file.
class NewFileSweepTest : public IoSweepTest {};

TEST_P(NewFileSweepTest, EveryCall) {
  for (const Failing& failing : AllFailing()) {
    Sweep(failing, Found::kNoFile);
  }
}

INSTANTIATE_TEST_SUITE_P(, NewFileSweepTest,
                         ::testing::Values(operations::Get("CreateTable"),
                                           operations::Get("CheckExistTable")),
                         [](const auto& test) { return test.param.member; });

}  // namespace
