#include "Objects.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <unordered_map>

#include "Check.h"
#include "Report.h"

namespace vorncheck {
namespace {

using Objects = std::unordered_map<const void*, Object>;

bool AreInConflict(const Call& one, const Call& other) {
  return one.thread != other.thread &&
         (one.access != other.access || one.access == Access::kChange);
}

void ReportConflict(const Call& call, const Call& other) {
  Report({Kind::kConcurrentChange,
          call.site,
          Text(call.name, " uses an object while ", other.name, " on another thread uses it"),
          {{"other call at", {other.site}}}});
}

// With the digits that are needed to read the same number back.
std::string Exactly(double value) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
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
          {{"set at", earlier->stack}}});
  *earlier = item;
}

void NoteColumn(const Call& call, Place place, const char* name, const char* value) {
  if (name == nullptr) {
    return;
  }
  Item item{place, "column name", name, name, value};
  const Item* const first = Find(call, [&](const Item& other) {
    return other.place == place && other.pointer == name && place != kKey;
  });
  if (first == nullptr) {
    item.stack = StackFrom(call.site);
    ObjectAt(call.object).items.push_back(std::move(item));
  } else if (first->name != item.name || first->value != item.value) {
    Report({Kind::kIgnoredValue,
            call.site,
            Text("the column ", Shown(first->name), " keeps its first value, ", Shown(first->value),
                 "; ignored is ", Shown(item.value),
                 first->name != item.name ? " for " + Shown(item.name) : ""),
            {{"set at", first->stack}}});
  }
}

void NoteColumn(const Call& call, Place place, const char* name, int value) {
  NoteColumn(call, place, name, std::to_string(value).c_str());
}

void NoteColumn(const Call& call, Place place, const char* name, double value) {
  // With six digits, as the request keeps it.
  const std::string kept = Text(value);
  double read = 0;
  if (name != nullptr && (!IsWhole(kept, read) || read != value)) {
    Report(Kind::kLostDigits, call.site, "the column ", Shown(name), " gets ", kept,
           " for the double ", Exactly(value));
  }
  NoteColumn(call, place, name, kept.c_str());
}

void ForgetUses() {
  for (auto& entry : TheOnly<Objects>()) {
    entry.second.calls.clear();
  }
}

Use::Use(const Call& call) noexcept : m_call(call) {
  Check([this] {
    Object& object = ObjectAt(m_call.object);
    const auto other =
        std::find_if(object.calls.begin(), object.calls.end(),
                     [this](const Call& earlier) { return AreInConflict(m_call, earlier); });
    m_isAlone = other == object.calls.end();
    if (!m_isAlone) {
      ReportConflict(m_call, *other);
    }
    if (m_call.access == Access::kFill) {
      // Cells that are filled by hand are none of a query.
      object.emptyCells.clear();
    }
    object.calls.push_back(m_call);
  });
}

Use::~Use() {
  Check([this] {
    // A destructor has removed the object.
    const auto object = TheOnly<Objects>().find(m_call.object);
    if (object != TheOnly<Objects>().end()) {
      auto& calls = object->second.calls;
      const auto mine = std::find_if(calls.begin(), calls.end(), [this](const Call& call) {
        return call.thread == m_call.thread;
      });
      if (mine != calls.end()) {
        calls.erase(mine);
      }
    }
  });
}

}  // namespace vorncheck
