// The members that fill and read requests.

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "Forward.h"
#include "JoinRequest.h"
#include "Report.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace vorncheck {
namespace {

// --- Parts of which the request keeps a copy: a path, a table, a key, a side of a join

struct Part {
  const char* name;
  char* const* member;
  const char* value;
};

// Notes where a part is set. One that was set before leaks.
void NotePart(const char* symbol, const void* site, const void* request, const Part& part,
              const char* earlier, const Stack& stack) {
  Stack first;
  {
    LockedObject locked(request);
    first = std::exchange(locked->parts[part.member], stack);
  }
  if (earlier != nullptr) {
    Report(Kind::kLeakedSetter, site, [&] {
      Finding finding("the " + std::string(part.name) + " was " + Shown(earlier) + " before " +
                      NameOf(symbol) + " set it to " + Shown(part.value) +
                      "; the earlier copy leaks");
      finding.stacks = {{"set again at", stack}, {"first set at", first}};
      return finding;
    });
  }
}

template <auto Member, typename Class, typename... Arguments>
void SetParts(const void* site, Class& request, std::array<Part, sizeof...(Arguments)> parts,
              Arguments... arguments) {
  std::array<const char*, sizeof...(Arguments)> earlier{};
  std::transform(parts.begin(), parts.end(), earlier.begin(),
                 [](const Part& part) { return *part.member; });
  Forward<Member>(Access::kChange, site, request, arguments...);
  Aside([&] {
    const Stack stack = StackFrom(site);
    for (std::size_t number = 0; number < parts.size(); ++number) {
      if (parts[number].value != nullptr) {
        NotePart(Next<Member>::Symbol(), site, &request, parts[number], earlier[number], stack);
      }
    }
  });
}

// --- Values and conditions

// As a request keeps it.
std::string Kept(const char* value) { return value; }
std::string Kept(int value) { return std::to_string(value); }
std::string Kept(double value) {
  char digits[32];
  return {digits,
          std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6).ptr};
}

// With as many digits as it takes to read the same number back.
std::string Exactly(double value) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

// Infinities and NaN have no digits.
bool IsLost(double value) {
  const std::string kept = Kept(value);
  double read = 0;
  std::from_chars(kept.data(), kept.data() + kept.size(), read);
  return !std::isfinite(value) || read != value;
}

template <typename Value>
void CheckDigits(const void* site, const Note& note, Value value) {
  if constexpr (std::is_same_v<Value, double>) {
    if (IsLost(value)) {
      Report(Kind::kLostDigits, site, [&] {
        Finding finding("the column " + Shown(note.name) + " gets " + note.value +
                        " for the double " + Exactly(value));
        finding.stacks = {{"set at", note.stack}};
        return finding;
      });
    }
  }
}

// Notes a value, unless the pointer has one: the first one stays.
void NoteValue(const void* site, const void* request, Notes Object::*notes, const char* column,
               const Note& note) {
  Note first;
  {
    LockedObject locked(request);
    const auto [entry, isNew] = ((*locked).*notes).try_emplace(column, note);
    if (isNew) {
      return;
    }
    first = entry->second;
  }
  if (first.value != note.value || first.name != note.name) {
    Report(Kind::kIgnoredValue, site, [&] {
      Finding finding("the column " + Shown(first.name) + " keeps its first value, " +
                      Shown(first.value) + "; ignored is " + Shown(note.value) +
                      (first.name != note.name ? " for " + Shown(note.name) : ""));
      finding.stacks = {{"ignored at", note.stack}, {"first set at", first.stack}};
      return finding;
    });
  }
}

template <auto Member, typename Value>
void SetValue(const void* site, BaseSet& request, Notes Object::*notes, const char* column,
              Value value) {
  Note note;
  Aside([&] {
    if (column != nullptr) {
      note = {column, Kept(value), StackFrom(site)};
    }
  });
  Forward<Member>(Access::kFill, site, request, column, value);
  Aside([&] {
    if (column != nullptr) {
      CheckDigits(site, note, value);
      NoteValue(site, &request, notes, column, note);
    }
  });
}

void NoteKey(const void* site, const CreateRequest& request, const char* name) {
  Aside([&] {
    if (name != nullptr) {
      const Note note{name, "", StackFrom(site)};
      LockedObject(&request)->keys.emplace_back(name, note);
    }
  });
}

}  // namespace
}  // namespace vorncheck

using vorncheck::Access;
using vorncheck::Forward;
using vorncheck::NoteKey;
using vorncheck::Object;
using vorncheck::SetParts;
using vorncheck::SetValue;

// Passes on a member that reads a request.
#define VORN_READ(Member, ...) Forward<&Member>(Access::kRead, VORN_SITE, *this, __VA_ARGS__)

void BasePath::SetPath(const char* directory, const char* fileName) {
  SetParts<&BasePath::SetPath>(
      VORN_SITE, *this,
      {{{"directory", &m_directory, directory}, {"file name", &m_fileName, fileName}}}, directory,
      fileName);
}

void BasePath::GetPath(std::string& directory, std::string& fileName) {
  VORN_READ(BasePath::GetPath, directory, fileName);
}

#define VORN_SETTER(Member, notes, Value)                                                    \
  void BaseSet::Member(const char* column, Value value) {                                    \
    using Setter = void (BaseSet::*)(const char*, Value);                                    \
    SetValue<static_cast<Setter>(&BaseSet::Member)>(VORN_SITE, *this, notes, column, value); \
  }

VORN_SETTER(SetData, &Object::data, const char*)
VORN_SETTER(SetData, &Object::data, int)
VORN_SETTER(SetData, &Object::data, double)
VORN_SETTER(SetWhere, &Object::where, const char*)
VORN_SETTER(SetWhere, &Object::where, int)
VORN_SETTER(SetWhere, &Object::where, double)

void BaseSet::GetDataMap(ColumnMap& columns) { VORN_READ(BaseSet::GetDataMap, columns); }
void BaseSet::GetWhereMap(ColumnMap& columns) { VORN_READ(BaseSet::GetWhereMap, columns); }

#define VORN_TABLE(Request)                                                                \
  void Request::SetTable(const char* table) {                                              \
    SetParts<&Request::SetTable>(VORN_SITE, *this, {{{"table", &m_table, table}}}, table); \
  }                                                                                        \
  void Request::GetTable(std::string& table) { VORN_READ(Request::GetTable, table); }

VORN_TABLE(CreateRequest)
VORN_TABLE(DeleteRequest)
VORN_TABLE(DropRequest)
VORN_TABLE(SelectRequest)
VORN_TABLE(UpdateRequest)
VORN_TABLE(UpsertRequest)

void CreateRequest::SetPrimaryKey(const char* name, const char* type) {
  SetParts<&CreateRequest::SetPrimaryKey>(VORN_SITE, *this,
                                          {{{"primary key", &m_primaryKeyName, name},
                                            {"type of the primary key", &m_primaryKeyType, type}}},
                                          name, type);
}

void CreateRequest::SetCompositeKey(const char* name, const char* type) {
  SetParts<&CreateRequest::SetCompositeKey>(
      VORN_SITE, *this,
      {{{"composite key", &m_compositeKeyName, name},
        {"type of the composite key", &m_compositeKeyType, type}}},
      name, type);
}

void CreateRequest::SetColumnKey(const char* name, const char* type) {
  const void* const site = VORN_SITE;
  Forward<&CreateRequest::SetColumnKey>(Access::kFill, site, *this, name, type);
  NoteKey(site, *this, name);
}

void CreateRequest::GetPrimaryKey(std::string& name, std::string& type) {
  VORN_READ(CreateRequest::GetPrimaryKey, name, type);
}

void CreateRequest::GetCompositeKey(std::string& name, std::string& type) {
  VORN_READ(CreateRequest::GetCompositeKey, name, type);
}

void CreateRequest::GetColumnKey(ColumnKeys& keys) { VORN_READ(CreateRequest::GetColumnKey, keys); }

void JoinRequest::SetLeftJoin(const char* table, const char* column) {
  SetParts<&JoinRequest::SetLeftJoin>(
      VORN_SITE, *this,
      {{{"left table", &m_leftTable, table}, {"left column", &m_leftColumn, column}}}, table,
      column);
}

void JoinRequest::SetRightJoin(const char* table, const char* column) {
  SetParts<&JoinRequest::SetRightJoin>(
      VORN_SITE, *this,
      {{{"right table", &m_rightTable, table}, {"right column", &m_rightColumn, column}}}, table,
      column);
}

void JoinRequest::GetLeftJoin(std::string& table, std::string& column) {
  VORN_READ(JoinRequest::GetLeftJoin, table, column);
}

void JoinRequest::GetRightJoin(std::string& table, std::string& column) {
  VORN_READ(JoinRequest::GetRightJoin, table, column);
}
