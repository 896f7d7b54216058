#include "RealWait.h"

#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

thread_local std::function<void()> onWait;

}  // namespace

void OnWait(std::function<void()> action) { onWait = std::move(action); }

int usleep(useconds_t microseconds) {
  if (onWait) {
    onWait();
  }
  timespec left{static_cast<time_t>(microseconds / 1000000),
                static_cast<long>(microseconds % 1000000) * 1000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
  return 0;
}
