#include "private/Log.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace vorn {

void PrintTrace(const LogSite& site) {
  VORN_LOG_AT(site, kDebug, "%s::%s(%d) called", site.file, site.function, site.line);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): a parameter pack would be compiled once per kind of arguments
void PrintProtected(const LogSite& site, LogPriority priority, const char* format, ...) {
  const int index = VornLogger::GetInstance()->GetBufferIndex();
  char* const buffer = VornLogger::GetBuffer(index);
  va_list arguments;
  va_start(arguments, format);
  static_cast<void>(std::vsnprintf(buffer, kProtectedMessageSize, format, arguments));
  va_end(arguments);
  std::string message(buffer);
  const std::string converted = VornLogger::GetInstance()->ConvertToSecureLog(std::move(message));
  CallSystemLog(__dlog_print, priority, VornLogger::GetInstance()->GetLogTag(),
                VORN_LOG_PREFIX "%s", site.file, site.function, site.line, converted.c_str());
}

}  // namespace vorn
