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

// Every kind of call with every kind of failure; what may be busy is busy, too.
std::vector<Failing> AllFailing() {
  struct Named {
    const char* name;
    FileCall call;
    int ioError;
  };
  std::vector<Failing> all = {{"OpenBusy", FileCall::kOpen, SQLITE_BUSY},
                              {"LockBusy", FileCall::kLock, SQLITE_BUSY}};
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

class IoSweepTest : public LibraryTest, public ::testing::WithParamInterface<SubjectMaker> {
 protected:
  // Answers how many points there were.
  static int Sweep(const Failing& failing, Journal journal) {
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
    fault.mayComeAfterEffect = failing.call == FileCall::kUnlock;
    return SweepOver(GetParam(), fault, journal);
  }
};

TEST_P(IoSweepTest, EveryCall) {
  for (const Failing& failing : AllFailing()) {
    Sweep(failing, Journal::kNone);
  }
}

TEST_P(IoSweepTest, EveryCallWithAHotJournal) {
  for (const Failing& failing : AllFailing()) {
    // To roll a journal back takes every kind of call.
    EXPECT_GT(Sweep(failing, Journal::kHot), 0) << failing.name;
  }
}

INSTANTIATE_TEST_SUITE_P(, IoSweepTest, ::testing::ValuesIn(AllSubjects()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
