#include "private/Log.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace vorn {

void PrintEntry(const LogSite& site) {
  PrintLog(site, log::Entered(), site.file, site.function, site.line);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): a parameter pack would be compiled once per kind of arguments
void PrintProtected(const LogSite& site, LogPriority priority, const char* format, ...) {
  constexpr std::size_t kMessageSize = 599;  // its NUL included
  constexpr std::size_t kPrefixLength = sizeof(VORN_LOG_PREFIX) - 1;

  const int index = VornLogger::GetInstance()->GetBufferIndex();
  char* const buffer = VornLogger::GetBuffer(index);
  va_list arguments;
  va_start(arguments, format);
  static_cast<void>(std::vsnprintf(buffer, kMessageSize, format + kPrefixLength, arguments));
  va_end(arguments);
  std::string message(buffer);
  const std::string converted = VornLogger::GetInstance()->ConvertToSecureLog(std::move(message));
  CallSystemLog(__dlog_print, priority, VornLogger::GetInstance()->GetLogTag(),
                VORN_LOG_PREFIX "%s", site.file, site.function, site.line, converted.c_str());
}

}  // namespace vorn
