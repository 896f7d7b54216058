#include "private/BusyRule.h"

#include <unistd.h>

namespace vorn {

bool CountBusy(const LogSite& site, int& count) {
  constexpr int kRetryLimit = 16;
  constexpr useconds_t kWaitMicroseconds = 100000;

  ++count;
  if (count < kRetryLimit) {
    VORN_LOG_AT(site, kWarning, "SQLITE BUSY[%d]", count);
    usleep(kWaitMicroseconds);
    return false;
  }
  VORN_LOG_AT(site, kError, "RETRY COUNT is reached LIMIT, SQLITE_BUSY");
  return true;
}

}  // namespace vorn
