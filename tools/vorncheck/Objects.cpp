#include "Objects.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <unordered_map>

#include "Check.h"
#include "Report.h"

namespace vorncheck {
namespace {

using Objects = std::unordered_map<const void*, Object>;

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local long threadNumber = 0;

long ThisThread() {
  threadNumber = threadNumber != 0 ? threadNumber : syscall(SYS_gettid);
  return threadNumber;
}

bool AreInOrder(const Call& one, const Call& other) {
  return one.access == other.access && one.access != Access::kChange;
}

void ReportConflict(const Call& call, const Call& other, long thread) {
  Report({Kind::kConcurrentChange,
          call.site,
          Text(call.name, " on thread ", ThisThread(), " uses an object while ", other.name,
               " on thread ", thread, " uses it"),
          {{"this thread", StackFrom(call.site)}, {"the other thread", {other.site}}}});
}

template <typename... Format>
std::string Digits(double value, Format... format) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, value, format...).ptr};
}

double Number(const std::string& digits) {
  double number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

// The item of the request that is found, or null.
template <typename Condition>
Item* Find(const Call& call, Condition condition) {
  auto& items = TheOnly<Objects>()[call.object].items;
  const auto item = std::find_if(items.begin(), items.end(), condition);
  return item != items.end() ? &*item : nullptr;
}

}  // namespace

Object& ObjectAt(const void* address) { return TheOnly<Objects>()[address]; }

void Forget(const void* address) { TheOnly<Objects>().erase(address); }

void NotePart(const Call& call, Place place, const char* role, const char* text) {
  if (text == nullptr) {
    return;
  }
  const Item item{place, role, nullptr, text, {}, StackFrom(call.site)};
  Item* const earlier = Find(call, [&](const Item& other) {
    return other.place == place && other.role == std::string_view(role);
  });
  if (earlier == nullptr) {
    ObjectAt(call.object).items.push_back(item);
    return;
  }
  Report({Kind::kLeakedSetter,
          call.site,
          Text("the ", place == kType ? "type of the " : "", role, " was ", Shown(earlier->name),
               " before ", call.name, " set it to ", Shown(item.name), "; the earlier copy leaks"),
          {{"set again at", item.stack}, {"first set at", earlier->stack}}});
  *earlier = item;
}

void NoteColumn(const Call& call, Place place, const char* name, const char* value) {
  if (name == nullptr) {
    return;
  }
  const Item item{place, "column name", name, name, value, StackFrom(call.site)};
  const Item* const first = Find(call, [&](const Item& other) {
    return other.place == place && other.pointer == name && place != kKey;
  });
  if (first == nullptr) {
    ObjectAt(call.object).items.push_back(item);
  } else if (first->name != item.name || first->value != item.value) {
    Report({Kind::kIgnoredValue,
            call.site,
            Text("the column ", Shown(first->name), " keeps its first value, ", Shown(first->value),
                 "; ignored is ", Shown(item.value),
                 first->name != item.name ? " for " + Shown(item.name) : ""),
            {{"ignored at", item.stack}, {"first set at", first->stack}}});
  }
}

void NoteColumn(const Call& call, Place place, const char* name, int value) {
  NoteColumn(call, place, name, std::to_string(value).c_str());
}

void NoteColumn(const Call& call, Place place, const char* name, double value) {
  const std::string kept = Digits(value, std::chars_format::general, 6);
  // Infinities and NaN have no digits.
  if (name != nullptr && (!std::isfinite(value) || Number(kept) != value)) {
    Report({Kind::kLostDigits,
            call.site,
            Text("the column ", Shown(name), " gets ", kept, " for the double ", Digits(value)),
            {{"set at", StackFrom(call.site)}}});
  }
  NoteColumn(call, place, name, kept.c_str());
}

void ForgetUses() {
  threadNumber = 0;
  for (auto& entry : TheOnly<Objects>()) {
    entry.second.calls.clear();
  }
}

Use::Use(const Call& call) noexcept : m_call(call) {
  Check([this] {
    Object& object = ObjectAt(m_call.object);
    for (const auto& [other, thread] : object.calls) {
      if (thread != ThisThread() && !AreInOrder(m_call, other)) {
        m_isAlone = false;
        ReportConflict(m_call, other, thread);
        break;
      }
    }
    if (m_call.access == Access::kFill) {
      // Cells that are filled by hand are none of a query.
      object.emptyCells.clear();
    }
    object.calls.emplace_back(m_call, ThisThread());
  });
}

Use::~Use() {
  Check([this] {
    // A destructor has removed the object.
    const auto object = TheOnly<Objects>().find(m_call.object);
    if (object != TheOnly<Objects>().end()) {
      auto& calls = object->second.calls;
      const auto isMine = [](const auto& call) { return call.second == ThisThread(); };
      const auto mine = std::find_if(calls.begin(), calls.end(), isMine);
      if (mine != calls.end()) {
        calls.erase(mine);
      }
    }
  });
}

}  // namespace vorncheck
