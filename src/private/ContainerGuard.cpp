#include "private/ContainerGuard.h"

namespace vorn {

void ContainerGuard::LogUnnamed(const LogSite& site) {
  PrintLog(site, log::LockUnnamed(), site.file, site.function, site.line);
}

}  // namespace vorn
