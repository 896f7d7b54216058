#include "private/ContainerGuard.h"

namespace vorn {

void ContainerGuard::LogUnnamed(const LogSite& site) {
  VORN_LOG_AT(site, kError, "Failed to get MUTEX_NAME at %s::%s[%d]", site.file, site.function,
              site.line);
}

}  // namespace vorn
