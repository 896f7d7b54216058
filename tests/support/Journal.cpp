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

}  // namespace

void Clear() {
  const std::lock_guard<std::mutex> lock(mutex);
  events.clear();
}

void Add(Kind kind, std::string text) {
  const std::lock_guard<std::mutex> lock(mutex);
  events.push_back({kind, std::move(text)});
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
