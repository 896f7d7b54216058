// A test's function in a process of its own, and numbers sent to and fro.

#ifndef VORN_TESTS_SUPPORT_CHILDPROCESS_H
#define VORN_TESTS_SUPPORT_CHILDPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>

// More than anything takes that does not hang, on a machine under load.
constexpr std::chrono::minutes kPatience{10};

// One end of the connection between a process and its child. Several threads may
// send at the same time, and one may receive.
class Channel {
 public:
  // Takes over an end of a stream socket.
  explicit Channel(int socket) : m_socket(socket) {}
  ~Channel();
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // False when the other process is gone.
  bool Send(int number);

  // The next number that was sent, also by a process that is gone by now; none
  // when nothing comes any more, or not within the limit.
  std::optional<int> Receive(std::chrono::milliseconds limit);

  // Whether the other process is gone within the limit.
  bool BreaksWithin(std::chrono::milliseconds limit) const;

 private:
  const int m_socket;
};

// A child lives no longer than this object, or than the thread that made it.
class ChildProcess {
 public:
  // Runs in the child. What GoogleTest finds there is printed, and makes the child
  // end with a failure.
  using Work = std::function<void(Channel& parent)>;

  // Forks. There must be no thread but the calling one, and no open connection to
  // a database that the child uses, too: SQLite takes neither across.
  explicit ChildProcess(const Work& work);
  // Kills the child if need be, and waits for it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  Channel& Link() { return *m_link; }
  pid_t Id() const { return m_id; }

  // Kills the child, wherever it is, and waits for it. What it sent can still be
  // received.
  void Kill();

  // Whether the child ends by itself within the limit, and without a failure.
  bool EndsWell(std::chrono::milliseconds limit);

 private:
  int Wait();

  pid_t m_id = -1;
  std::optional<Channel> m_link;
  std::optional<int> m_status;  // of waitpid, after the end
};

#endif  // VORN_TESTS_SUPPORT_CHILDPROCESS_H
