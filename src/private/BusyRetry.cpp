#include "private/BusyRetry.h"

#include <unistd.h>

namespace vorn {

bool CountBusyAndWait(const LogSite& site, int& count) {
  constexpr int kLimit = 16;
  constexpr useconds_t kWaitMicroseconds = 100000;

  ++count;
  if (count < kLimit) {
    PrintLog(site, log::Busy(), count);
    usleep(kWaitMicroseconds);
    return false;
  }
  PrintLog(site, log::BusyLimit());
  return true;
}

}  // namespace vorn
