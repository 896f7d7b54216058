#include "ContainerGuard.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace vorn {

ContainerGuard::Name::Name(const LogSite& site, const void* container) {
  // GCC takes the result to be at least 1 and drops this branch when it
  // optimises; the build tells it not to (-fno-printf-return-value).
  if (std::snprintf(text, sizeof text, "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(container)) <
      1) {
    VORN_LOG_AT(site, kError, "Failed to get MUTEX_NAME at %s::%s[%d]", site.file, site.function,
                site.line);
  }
}

ContainerGuard::ContainerGuard(const LogSite& site, const void* container)
    : m_name(site, container), m_mutex(m_name.text) {
  m_mutex.Lock();
}

}  // namespace vorn
