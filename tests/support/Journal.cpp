#include "Journal.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace journal {

namespace {

struct Event {
  Kind kind;
  std::string text;
};

std::mutex mutex;
std::vector<Event> events;
Listener listener;

}  // namespace

void Clear() {
  const std::lock_guard<std::mutex> lock(mutex);
  events.clear();
  listener = nullptr;
}

void Add(Kind kind, const std::string& text) {
  std::unique_lock<std::mutex> lock(mutex);
  events.push_back({kind, text});
  const Listener told = listener;
  lock.unlock();  // what it does may be an event, too
  if (told) {
    told(kind, text);
  }
}

void Listen(Listener newListener) {
  const std::lock_guard<std::mutex> lock(mutex);
  listener = std::move(newListener);
}

std::vector<std::string> Of(std::initializer_list<Kind> kinds) {
  const std::lock_guard<std::mutex> lock(mutex);
  std::vector<std::string> texts;
  for (const Event& event : events) {
    if (std::find(kinds.begin(), kinds.end(), event.kind) != kinds.end()) {
      texts.push_back(event.text);
    }
  }
  return texts;
}

}  // namespace journal
