#include "ContainerGuard.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace vorn {

namespace {

// Forms the name in `buffer`, and answers it.
template <std::size_t Size>
const char* FormName(const LogSite& site, const void* container, char (&buffer)[Size]) {
  buffer[0] = '\0';
  // GCC takes the result to be at least 1 and drops this branch when it
  // optimises; the build tells it not to (-fno-printf-return-value).
  if (std::snprintf(buffer, Size, "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(container)) < 1) {
    VORN_LOG_AT(site, kError, "Failed to get MUTEX_NAME at %s::%s[%d]", site.file, site.function,
                site.line);
  }
  return buffer;
}

}  // namespace

ContainerGuard::ContainerGuard(const LogSite& site, const void* container)
    : m_mutex(FormName(site, container, m_name)) {
  m_mutex.Lock();
}

}  // namespace vorn
