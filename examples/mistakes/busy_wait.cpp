// Another process has a long transaction. The operation waits, and fails at last.
//
// vorncheck: Database::Upsert found "./contacts.db" busy ... times and waited ... s; locked by
//   process ... (...)

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Scene.h"

int main() {
  CreateContacts();
  static int ends[2];
  static char byte = 0;
  Check(socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  if (fork() == 0) {
    close(ends[0]);
    Execute("BEGIN EXCLUSIVE", [] {
      write(ends[1], &byte, 1);
      read(ends[1], &byte, 1);  // until the other end is closed
    });
    _exit(0);
  }
  close(ends[1]);
  read(ends[0], &byte, 1);
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");
  const int result = Database().Upsert(request);  // vorncheck: busy-wait, called at
  close(ends[0]);
  wait(nullptr);
  return result;
}
