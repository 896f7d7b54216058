#include "Log.h"

#include <utility>

namespace vorn {

void PrintProtected(const LogSite& site, LogPriority priority, const char* buffer) {
  std::string message(buffer);
  const std::string converted = VornLogger::GetInstance()->ConvertToSecureLog(std::move(message));
  CallSystemLog(__dlog_print, priority, VornLogger::GetInstance()->GetLogTag(),
                VORN_LOG_PREFIX "%s", site.file, site.function, site.line, converted.c_str());
}

}  // namespace vorn
