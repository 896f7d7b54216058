#include "ChildProcess.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

// A child ends before ThreadSanitizer turns its reports into a failure, so the first
// one has to end it.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "halt_on_error=1"; }

namespace {

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Whether one of the events, or the end of the connection, comes in time.
bool Comes(int socket, short events, std::chrono::milliseconds limit) {
  pollfd request{socket, events, 0};
  int count = -1;
  do {
    count = poll(&request, 1, static_cast<int>(limit.count()));
  } while (count < 0 && errno == EINTR);
  return count > 0;
}

// The child's life. An exception ends it, and the parent's destructors do not run.
[[noreturn]] void RunAndEnd(const ChildProcess::Work& work, int socket, pid_t parent) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);  // it was gone before
  }
  Channel link(socket);
  work(link);
  std::fflush(nullptr);
  _exit(::testing::Test::HasFailure() ? 1 : 0);
}

}  // namespace

Channel::~Channel() { close(m_socket); }

bool Channel::Send(int number) {
  return send(m_socket, &number, sizeof number, MSG_NOSIGNAL) == sizeof number;
}

std::optional<int> Channel::Receive(std::chrono::milliseconds limit) {
  int number = 0;
  if (!Comes(m_socket, POLLIN, limit) ||
      recv(m_socket, &number, sizeof number, MSG_WAITALL) != sizeof number) {
    return std::nullopt;
  }
  return number;
}

bool Channel::BreaksWithin(std::chrono::milliseconds limit) const {
  return Comes(m_socket, 0, limit);
}

ChildProcess::ChildProcess(const Work& work) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    ThrowErrno("socketpair");
  }
  std::fflush(nullptr);  // or the child would print it once more
  const pid_t parent = getpid();
  m_id = fork();
  if (m_id == 0) {
    close(sockets[0]);
    RunAndEnd(work, sockets[1], parent);
  }
  close(sockets[1]);
  m_link.emplace(sockets[0]);
  if (m_id < 0) {
    ThrowErrno("fork");
  }
}

ChildProcess::~ChildProcess() { Kill(); }

void ChildProcess::Kill() {
  if (!m_status) {
    kill(m_id, SIGKILL);
    Wait();
  }
}

bool ChildProcess::EndsWell(std::chrono::milliseconds limit) {
  if (!m_status && !m_link->BreaksWithin(limit)) {
    return false;
  }
  const int status = Wait();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int ChildProcess::Wait() {
  while (!m_status) {
    int status = 0;
    if (waitpid(m_id, &status, 0) == m_id) {
      if (WIFEXITED(status) || WIFSIGNALED(status)) {
        m_status = status;
      }
    } else if (errno != EINTR) {
      ThrowErrno("waitpid");
    }
  }
  return *m_status;
}
