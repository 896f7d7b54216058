#include "RequestChecks.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "Objects.h"
#include "SelectRequest.h"
#include "Sql.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace vorncheck {
namespace {

// --- Column names that are kept by pointer

// The kernel reads the mask before it refuses the action.
bool IsReadable(std::uintptr_t address) {
  constexpr std::size_t kMask = 8;
  return syscall(SYS_rt_sigprocmask, -1, address & ~(kMask - 1), nullptr, kMask) == 0 ||
         errno != EFAULT;
}

// Reads at most `limit` bytes of a string whose memory may have gone; false if it has.
bool ReadString(const char* address, std::size_t limit, std::string& text) {
  constexpr std::uintptr_t kPage = 4096;
  for (std::size_t at = 0; at < limit; ++at) {
    const auto byte = reinterpret_cast<std::uintptr_t>(address + at);
    if ((at == 0 || byte % kPage == 0) && !IsReadable(byte)) {
      return false;
    }
    if (address[at] == '\0') {
      return true;
    }
    text += address[at];
  }
  return true;
}

void CheckName(const Operation& operation, const char* pointer, const Note& note) {
  std::string now;
  const bool isReadable = ReadString(pointer, note.name.size() + 1, now);
  if (isReadable && now == note.name) {
    return;
  }
  Report(Kind::kDanglingName, operation.Site(), [&] {
    return operation.MakeFinding(
        "the column name " + Shown(note.name) +
            (isReadable ? " is " + Shown(now) + " now" : " is no longer in memory") + ", when " +
            operation.Name() + " reads it",
        note.stack);
  });
}

// --- The parts of a request

using Names = std::vector<Text>;

void CheckDuplicates(const Operation& operation, const Names& names) {
  std::map<std::string, const Text*> known;
  for (const Text& name : names) {
    const auto [first, isNew] = known.try_emplace(LowerCase(name.text), &name);
    if (!isNew) {
      const Text& earlier = *first->second;
      Report(Kind::kDuplicateName, operation.Site(), [&] {
        Finding finding = operation.MakeFinding(
            "the statement names the column " + Shown(name.text) + " twice", name.stack);
        finding.stacks.emplace_back("and at", earlier.stack);
        return finding;
      });
    }
  }
}

Stack StackOf(const void* request, const void* member) {
  LockedObject locked(request);
  const auto part = locked->parts.find(member);
  return part != locked->parts.end() ? part->second : Stack();
}

void AddNames(Operation& operation, const Names& names) {
  Names& all = operation.TheSubject().names;
  all.insert(all.end(), names.begin(), names.end());
}

// Adds a name that a request keeps a copy of.
void AddPart(Operation& operation, const char* role, const void* request, char* const* member) {
  if (*member != nullptr) {
    AddNames(operation, {{role, *member, StackOf(request, member)}});
  }
}

// Checks the pointers of one clause of the statement, and returns its names.
template <typename NotesOfClause>
Names CheckClause(Operation& operation, const NotesOfClause& notes) {
  Names names;
  for (const auto& [pointer, note] : notes) {
    CheckName(operation, pointer, note);
    names.push_back({"column name", note.name, note.stack});
  }
  return names;
}

void AddClause(Operation& operation, const Notes& notes) {
  const Names names = CheckClause(operation, notes);
  CheckDuplicates(operation, names);
  AddNames(operation, names);
  for (const auto& entry : notes) {
    operation.TheSubject().values.push_back({"value", entry.second.value, entry.second.stack});
  }
}

void AddData(Operation& operation, const BaseSet& request) {
  AddClause(operation, Notes(LockedObject(&request)->data));
}

// Returns whether there are conditions.
bool AddWhere(Operation& operation, const BaseSet& request) {
  const Notes where = LockedObject(&request)->where;
  AddClause(operation, where);
  return !where.empty();
}

template <typename Request>
void AddTable(Operation& operation, const Request& request) {
  AddPart(operation, "table name", &request, &request.m_table);
}

// A key is in the statement only with both its name and its type.
bool IsGiven(const char* name, const char* type) {
  return name != nullptr && type != nullptr && name[0] != '\0' && type[0] != '\0';
}

void CheckPath(const Operation& operation, const BasePath& path) {
  for (char* const* const member : {&path.m_directory, &path.m_fileName}) {
    if (*member != nullptr && LoneQuote(*member) != std::string::npos) {
      Report(Kind::kUnescapedQuote, operation.Site(), [&] {
        return operation.MakeFinding("the path part " + Shown(*member) +
                                         " has a quote; a path is no SQL, so a doubled one "
                                         "would be two",
                                     StackOf(&path, member));
      });
    }
  }
}

void CheckForms(Operation& operation) {
  for (const Text& name : operation.TheSubject().names) {
    const NameForm form = FormOf(name.text);
    const bool isOdd = form == NameForm::kOdd && OpenQuote(name.text) == std::string::npos;
    if (isOdd || form == NameForm::kReserved) {
      Report(Kind::kOddIdentifier, operation.Site(), [&] {
        return operation.MakeFinding(
            "the " + std::string(name.role) + " " + Shown(name.text) +
                (isOdd ? " is no plain identifier" : " is a reserved word"),
            name.stack);
      });
    }
  }
}

}  // namespace

void CheckRequest(Operation& operation, const UpsertRequest& request) {
  AddTable(operation, request);
  AddData(operation, request);
}

void CheckRequest(Operation& operation, const UpdateRequest& request) {
  AddTable(operation, request);
  AddData(operation, request);
  operation.TheSubject().isUpdateOfAllRows = !AddWhere(operation, request);
}

void CheckRequest(Operation& operation, const DeleteRequest& request) {
  AddTable(operation, request);
  if (!AddWhere(operation, request)) {
    Report(Kind::kUnconditionalDelete, operation.Site(), [&] {
      return operation.MakeFinding(operation.Name() + " has no condition, so it deletes all rows");
    });
  }
}

void CheckRequest(Operation& operation, const SelectRequest& request) {
  AddTable(operation, request);
  AddWhere(operation, request);
}

void CheckRequest(Operation& operation, const JoinRequest& request) {
  AddPart(operation, "left table name", &request, &request.m_leftTable);
  AddPart(operation, "left column name", &request, &request.m_leftColumn);
  AddPart(operation, "right table name", &request, &request.m_rightTable);
  AddPart(operation, "right column name", &request, &request.m_rightColumn);
  AddWhere(operation, request);
}

void CheckRequest(Operation& operation, const CreateRequest& request) {
  AddTable(operation, request);
  Names names = CheckClause(operation, Keys(LockedObject(&request)->keys));
  const auto add = [&](const char* role, char* const* member) {
    names.push_back({role, *member, StackOf(&request, member)});
  };
  if (IsGiven(request.m_primaryKeyName, request.m_primaryKeyType)) {
    add("primary key", &request.m_primaryKeyName);
    if (IsGiven(request.m_compositeKeyName, request.m_compositeKeyType)) {
      add("composite key", &request.m_compositeKeyName);
    }
  }
  CheckDuplicates(operation, names);
  AddNames(operation, names);
}

void CheckRequest(Operation& operation, const DropRequest& request) {
  AddTable(operation, request);
}

void CheckExistence(Operation& operation, const char* table) {
  operation.TheSubject().values.push_back({"table name", table, {}});
  if (table[0] == '"') {
    Report(Kind::kOddIdentifier, operation.Site(), [&] {
      return operation.MakeFinding("the table name " + Shown(table) +
                                   " is compared as a text, with its double quotes");
    });
  }
}

void CheckCommon(Operation& operation, const BasePath& path) {
  CheckPath(operation, path);
  CheckForms(operation);
}

}  // namespace vorncheck
