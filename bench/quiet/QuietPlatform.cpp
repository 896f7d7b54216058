// The platform with a lock and a log that do nothing: what remains is the library's
// own cost. The members stay out of line.

#include <VornLogger.h>
#include <VornMutex.h>
#include <dlog.h>

int __dlog_print(int /*log_id*/, int /*priority*/, const char* /*tag*/, const char* /*format*/,
                 ...) {
  return 0;
}

VornLogger::VornLogger() = default;

VornLogger::~VornLogger() = default;

VornLogger* VornLogger::GetInstance() {
  static VornLogger logger;
  return &logger;
}

bool VornLogger::GetEncryptionFlag() { return false; }

int VornLogger::GetBufferIndex() { return 0; }

char* VornLogger::GetBuffer(const int& /*index*/) {
  thread_local char buffer[600];
  return buffer;
}

std::string VornLogger::ConvertToSecureLog(std::string message) { return message; }

const char* VornLogger::GetLogTag() const { return "QUIET"; }

VornMutex::VornMutex(const char* /*name*/) : m_shard(nullptr) {}

VornMutex::~VornMutex() = default;

void VornMutex::Lock() {}

void VornMutex::Unlock() {}
