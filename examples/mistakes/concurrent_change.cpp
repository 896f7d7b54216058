// A thread changes the request that another thread is running.
//
// vorncheck: BaseSet::SetData uses an object while Database::Upsert on another thread uses it

#include <future>
#include <thread>

#include "Scene.h"

namespace {

struct Meeting {
  std::promise<void> begun;
  std::promise<void> changed;
};

Meeting& TheMeeting() {
  static Meeting meeting;
  return meeting;
}

// SQLite calls it when the operation has opened the file.
int WaitForChange(sqlite3* /*database*/, char** /*error*/, const void* /*calls*/) {
  TheMeeting().begun.set_value();
  TheMeeting().changed.get_future().wait();
  return SQLITE_OK;
}

}  // namespace

int main() {
  CreateContacts();
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(WaitForChange));
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, "Kim");
  std::thread other([&] {
    Database().Upsert(request);  // vorncheck: concurrent-change, other call at
  });
  TheMeeting().begun.get_future().wait();
  request.SetData(kPhone, "100");  // vorncheck: concurrent-change, called at
  TheMeeting().changed.set_value();
  other.join();
  return 0;
}
