// Preloaded, it writes a line to standard error for each sync of a file, between the lines of
// the library's log. With FAIL_SYNC in the environment, each one fails; with INTERRUPT_SYNC, each
// one sends SIGINT to the process.

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace {

int Sync(const char* name, int descriptor) {
  static_cast<void>(write(STDERR_FILENO, "sync\n", 5) == 5);
  if (std::getenv("INTERRUPT_SYNC") != nullptr) {
    static_cast<void>(kill(getpid(), SIGINT));
  }
  if (std::getenv("FAIL_SYNC") != nullptr) {
    errno = EIO;
    return -1;
  }
  return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, name))(descriptor);
}

}  // namespace

extern "C" int fsync(int descriptor) { return Sync("fsync", descriptor); }
extern "C" int fdatasync(int descriptor) { return Sync("fdatasync", descriptor); }
