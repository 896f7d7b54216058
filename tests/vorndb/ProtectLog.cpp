// Preloaded, it protects a program's log from the first line on, as some devices do.

#include <VornLogger.h>

namespace {

class ProtectLog {
 public:
  ProtectLog() { VornLogger::GetInstance()->SetEncryptionFlag(true); }
};

const ProtectLog kProtectLog;

}  // namespace
