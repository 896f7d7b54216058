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
  AfterForkInParent();
  // No other thread is left.
  ForgetUses();
  ForgetCounts();
}

__attribute__((constructor)) void Start() {
  pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
  Check(BeginReport);
}

}  // namespace

std::mutex& CheckMutex() { return TheOnly<std::mutex>(); }

Aside::Aside() : m_error(errno) {
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancellation);
  CheckMutex().lock();
}

Aside::~Aside() {
  UnlockAndWrite();
  pthread_setcancelstate(m_cancellation, nullptr);
  errno = m_error;
}

}  // namespace vorncheck
