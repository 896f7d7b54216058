#include "Check.h"

#include <pthread.h>

#include <cerrno>

#include "Objects.h"
#include "Report.h"

namespace vorncheck {
namespace {

void BeforeFork() {
  WriteMutex().lock();
  CheckMutex().lock();
  HeapMutex().lock();
}

void AfterForkInParent() {
  HeapMutex().unlock();
  CheckMutex().unlock();
  WriteMutex().unlock();
}

void AfterForkInChild() {
  HeapMutex().unlock();
  // Another handler may have begun a thread by now.
  ForgetUses();
  ForgetCounts();
  CheckMutex().unlock();
  WriteMutex().unlock();
}

__attribute__((constructor)) void Start() {
  pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
  Check(BeginReport);
}

}  // namespace

std::mutex& CheckMutex() { return TheOnly<std::mutex>(); }

void RunCheck(const std::function<void()>& check) noexcept {
  const int error = errno;
  int cancellation = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
  CheckMutex().lock();
  try {
    check();
  } catch (...) {
  }
  UnlockAndWrite();
  pthread_setcancelstate(cancellation, nullptr);
  errno = error;
}

}  // namespace vorncheck
