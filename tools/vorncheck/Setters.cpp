// The members that fill and read requests.

#include <charconv>
#include <cmath>
#include <initializer_list>

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
  const char* earlier;
  const char* later;
};

// Sets parts; one that was set before leaks.
template <auto Member, typename Class, typename... Arguments>
void SetParts(const void* site, Class& request, std::initializer_list<Part> parts,
              Arguments... arguments) {
  Aside([&] {
    for (const Part& part : parts) {
      if (part.earlier != nullptr && part.later != nullptr) {
        Report(Kind::kLeakedSetter, site, [&] {
          Finding finding("the " + std::string(part.name) + " was " + Shown(part.earlier) +
                          " before " + NameOf(Next<Member>::Symbol()) + " set it to " +
                          Shown(part.later) + "; the earlier copy leaks");
          finding.stacks = {{"set again at", StackFrom(site)}};
          return finding;
        });
      }
    }
  });
  Forward<Member>(Access::kChange, site, request, arguments...);
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

template <typename Value>
void CheckDigits(const void* /*site*/, const std::string& /*column*/, Value /*value*/) {}

void CheckDigits(const void* site, const std::string& column, double value) {
  const std::string kept = Kept(value);
  double read = 0;
  std::from_chars(kept.data(), kept.data() + kept.size(), read);
  // Infinities have no digits.
  if (read != value || std::isinf(value)) {
    Report(Kind::kLostDigits, site, [&] {
      Finding finding("the column " + Shown(column) + " gets " + kept + " for the double " +
                      Exactly(value));
      finding.stacks = {{"set at", StackFrom(site)}};
      return finding;
    });
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
      CheckDigits(site, note.name, value);
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
      {{"directory", m_directory, directory}, {"file name", m_fileName, fileName}}, directory,
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

#define VORN_TABLE(Request)                                                             \
  void Request::SetTable(const char* table) {                                           \
    SetParts<&Request::SetTable>(VORN_SITE, *this, {{"table", m_table, table}}, table); \
  }                                                                                     \
  void Request::GetTable(std::string& table) { VORN_READ(Request::GetTable, table); }

VORN_TABLE(CreateRequest)
VORN_TABLE(DeleteRequest)
VORN_TABLE(DropRequest)
VORN_TABLE(SelectRequest)
VORN_TABLE(UpdateRequest)
VORN_TABLE(UpsertRequest)

void CreateRequest::SetPrimaryKey(const char* name, const char* type) {
  SetParts<&CreateRequest::SetPrimaryKey>(VORN_SITE, *this,
                                          {{"primary key", m_primaryKeyName, name},
                                           {"type of the primary key", m_primaryKeyType, type}},
                                          name, type);
}

void CreateRequest::SetCompositeKey(const char* name, const char* type) {
  SetParts<&CreateRequest::SetCompositeKey>(
      VORN_SITE, *this,
      {{"composite key", m_compositeKeyName, name},
       {"type of the composite key", m_compositeKeyType, type}},
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
      VORN_SITE, *this, {{"left table", m_leftTable, table}, {"left column", m_leftColumn, column}},
      table, column);
}

void JoinRequest::SetRightJoin(const char* table, const char* column) {
  SetParts<&JoinRequest::SetRightJoin>(
      VORN_SITE, *this,
      {{"right table", m_rightTable, table}, {"right column", m_rightColumn, column}}, table,
      column);
}

void JoinRequest::GetLeftJoin(std::string& table, std::string& column) {
  VORN_READ(JoinRequest::GetLeftJoin, table, column);
}

void JoinRequest::GetRightJoin(std::string& table, std::string& column) {
  VORN_READ(JoinRequest::GetRightJoin, table, column);
}
