// Fakes of the platform that take nothing from the heap.

#include <VornLogger.h>
#include <VornMutex.h>
#include <dlog.h>

#include "HeapSpy.h"

int __dlog_print(int /*logId*/, int /*priority*/, const char* /*tag*/, const char* /*format*/,
                 ...) {
  heap_spy::Note("log");
  return 0;
}

VornLogger::VornLogger() = default;
VornLogger::~VornLogger() = default;

VornLogger* VornLogger::GetInstance() {
  static VornLogger logger;
  return &logger;
}

namespace {
bool encryption = false;
}

bool VornLogger::GetEncryptionFlag() { return encryption; }

void VornLogger::SetEncryptionFlag(bool flag) { encryption = flag; }

int VornLogger::GetBufferIndex() { return 0; }

char* VornLogger::GetBuffer(const int& /*index*/) {
  static char buffer[600];
  return buffer;
}

std::string VornLogger::ConvertToSecureLog(std::string message) {
  heap_spy::Note("convert");
  return message;
}

const char* VornLogger::GetLogTag() const { return "QUIET"; }

VornMutex::VornMutex(const char* /*name*/) : m_shard(nullptr) { heap_spy::Note("make"); }

VornMutex::~VornMutex() { heap_spy::Note("destroy"); }

void VornMutex::Lock() { heap_spy::Note("lock"); }

void VornMutex::Unlock() { heap_spy::Note("unlock"); }
