#include "Tracer.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "ChildProcess.h"

namespace {

// How a stop at a system call is told from a signal's.
constexpr int kSystemCall = SIGTRAP | 0x80;

void Request(decltype(PTRACE_TRACEME) request, pid_t process, long data) {
  if (ptrace(request, process, nullptr, data) != 0) {
    throw std::system_error(errno, std::generic_category(), "ptrace");
  }
}

}  // namespace

std::string Tracer::Obstacle() {
  ChildProcess child([](Channel& parent) {
    const long result = ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    parent.Send(result == 0 ? 0 : errno);
  });
  const std::optional<int> error = child.Link().Receive(kPatience);
  if (!error) {
    return "the child is gone";
  }
  return *error == 0 ? "" : std::strerror(*error);
}

Tracer::Tracer(pid_t child) : m_child(child) {
  if (WaitForStop() != SIGSTOP) {
    throw std::runtime_error("The child does not begin as it should.");
  }
  Request(PTRACE_SETOPTIONS, m_child, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
}

bool Tracer::RunToBoundary() {
  int signal = 0;
  do {
    Request(PTRACE_SYSCALL, m_child, signal);
    signal = WaitForStop();
  } while (signal != kSystemCall && signal != SIGSTOP);
  return signal == kSystemCall;
}

int Tracer::WaitForStop() const {
  int status = 0;
  while (waitpid(m_child, &status, 0) != m_child) {
    if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    }
  }
  if (!WIFSTOPPED(status)) {
    throw std::runtime_error("The child has ended while it was traced.");
  }
  return WSTOPSIG(status);
}

void BeginTraced() {
  Request(PTRACE_TRACEME, 0, 0);
  raise(SIGSTOP);
}

void EndTraced() { raise(SIGSTOP); }
