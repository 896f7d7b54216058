// The members of Database that run an operation, and the checks of their requests.

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <map>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "Next.h"
#include "Objects.h"
#include "Operation.h"
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
        {"", "", note.stack});
  });
}

// Checks the names of one clause of the statement.
template <typename NotesOfClause>
void CheckNames(const Operation& operation, const NotesOfClause& notes) {
  std::map<std::string, const Note*> known;
  for (const auto& entry : notes) {
    const Note& note = entry.second;
    CheckName(operation, entry.first, note);
    const auto [first, isNew] = known.try_emplace(LowerCase(note.name), &note);
    if (!isNew) {
      const Note& earlier = *first->second;
      Report(Kind::kDuplicateName, operation.Site(), [&] {
        Finding finding = operation.MakeFinding(
            "the statement names the column " + Shown(note.name) + " twice", {"", "", note.stack});
        finding.stacks.emplace_back("and at", earlier.stack);
        return finding;
      });
    }
  }
}

// --- The parts of the requests

void AddName(Operation& operation, const char* role, const char* name, const Stack& stack = {}) {
  if (name != nullptr) {
    operation.TheSubject().names.push_back({role, name, stack});
  }
}

template <typename NotesOfClause>
void AddClause(Operation& operation, const NotesOfClause& notes) {
  CheckNames(operation, notes);
  for (const auto& entry : notes) {
    const Note& note = entry.second;
    AddName(operation, "column name", note.name.c_str(), note.stack);
    operation.TheSubject().values.push_back({"value", note.value, note.stack});
  }
}

template <typename Request>
void AddData(Operation& operation, const Request& request) {
  AddClause(operation, Notes(LockedObject(&request)->data));
}

// Returns whether there are conditions.
template <typename Request>
bool AddWhere(Operation& operation, const Request& request) {
  const Notes where = LockedObject(&request)->where;
  AddClause(operation, where);
  return !where.empty();
}

template <typename Request>
void AddTable(Operation& operation, const Request& request) {
  AddName(operation, "table name", request.m_table);
}

void Check(Operation& operation, const UpsertRequest& request) {
  AddTable(operation, request);
  AddData(operation, request);
}

void Check(Operation& operation, const UpdateRequest& request) {
  AddTable(operation, request);
  AddData(operation, request);
  operation.TheSubject().isUpdateOfAllRows = !AddWhere(operation, request);
}

void Check(Operation& operation, const DeleteRequest& request) {
  AddTable(operation, request);
  if (!AddWhere(operation, request)) {
    Report(Kind::kUnconditionalDelete, operation.Site(), [&] {
      return operation.MakeFinding(operation.Name() + " has no condition, so it deletes all rows");
    });
  }
}

void Check(Operation& operation, const SelectRequest& request) {
  AddTable(operation, request);
  AddWhere(operation, request);
}

void Check(Operation& operation, const JoinRequest& request) {
  AddName(operation, "left table name", request.m_leftTable);
  AddName(operation, "left column name", request.m_leftColumn);
  AddName(operation, "right table name", request.m_rightTable);
  AddName(operation, "right column name", request.m_rightColumn);
  AddWhere(operation, request);
}

void Check(Operation& operation, const CreateRequest& request) {
  AddTable(operation, request);
  AddName(operation, "primary key", request.m_primaryKeyName);
  AddName(operation, "composite key", request.m_compositeKeyName);
  AddClause(operation, Keys(LockedObject(&request)->keys));
}

void Check(Operation& operation, const DropRequest& request) { AddTable(operation, request); }

// --- Checks that all requests have in common

void CheckPath(const Operation& operation, const BasePath& path) {
  for (const char* const part : {path.m_directory, path.m_fileName}) {
    if (part != nullptr && LoneQuote(part) != std::string::npos) {
      Report(Kind::kUnescapedQuote, operation.Site(), [&] {
        return operation.MakeFinding(
            "the path part " + Shown(part) +
            " has a quote; a path is no SQL, so a doubled one would be two");
      });
    }
  }
}

void CheckForms(Operation& operation) {
  for (const Text& name : operation.TheSubject().names) {
    const NameForm form = FormOf(name.text);
    const bool isOdd =
        form == NameForm::kOdd && name.text.find_first_of("'\"`") == std::string::npos;
    if (isOdd || form == NameForm::kReserved) {
      Report(Kind::kOddIdentifier, operation.Site(), [&] {
        return operation.MakeFinding(
            "the " + std::string(name.role) + " " + Shown(name.text) +
                (form == NameForm::kReserved ? " is a reserved word" : " is no plain identifier"),
            name);
      });
    }
  }
}

// Runs an operation: `check` looks at the request before it.
template <auto Member, typename Request, typename CheckRequest, typename... Arguments>
int Run(Operation& operation, Database& database, Request& request, CheckRequest check,
        Arguments&&... arguments) {
  const Use use(&request, Access::kRead, Next<Member>::Symbol(), operation.Site());
  if (use.IsAlone()) {
    Aside([&] {
      check(operation);
      CheckPath(operation, request);
      CheckForms(operation);
    });
  }
  const int result = Next<Member>::Call(database, request, std::forward<Arguments>(arguments)...);
  operation.End(result);
  return result;
}

template <auto Member, typename Request>
int RunWrite(const void* site, Database& database, Request& request) {
  Operation operation(Next<Member>::Symbol(), site);
  return Run<Member>(operation, database, request,
                     [&](Operation& writing) { Check(writing, request); });
}

// --- Results

void CheckCursor(const Operation& operation, Cursor& cursor) {
  const auto& cells = cursor.m_cells;
  LockedObject(&cursor)->emptyCells = operation.EmptyCells();
  if (cells.size() == 1 && cursor.m_columns.size() == 1 && cells.begin()->second.size() > 1) {
    Report(Kind::kHiddenRows, operation.Site(), [&] {
      return operation.MakeFinding("the result has the column " + Shown(cells.begin()->first) +
                                   " alone, so only the first of " +
                                   std::to_string(cells.begin()->second.size()) +
                                   " rows can be reached");
    });
  }
  std::map<std::string, int> known;
  for (const std::string& column : cursor.m_columns) {
    if (++known[column] == 2) {
      Report(Kind::kSharedColumn, operation.Site(), [&] {
        return operation.MakeFinding("several columns of the result are named " + Shown(column) +
                                     ", and share one list of cells");
      });
    }
  }
}

template <auto Member, typename Request>
int RunQuery(const void* site, Database& database, Request& request, Cursor& cursor) {
  Operation operation(Next<Member>::Symbol(), site);
  const Use use(&cursor, Access::kChange, Next<Member>::Symbol(), site);
  const int result = Run<Member>(
      operation, database, request, [&](Operation& querying) { Check(querying, request); }, cursor);
  if (result == 0 && use.IsAlone()) {
    Aside([&] { CheckCursor(operation, cursor); });
  }
  return result;
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

}  // namespace
}  // namespace vorncheck

int Database::Update(UpdateRequest& request) {
  return vorncheck::RunWrite<&Database::Update>(VORN_SITE, *this, request);
}

int Database::Delete(DeleteRequest& request) {
  return vorncheck::RunWrite<&Database::Delete>(VORN_SITE, *this, request);
}

int Database::Upsert(UpsertRequest& request) {
  return vorncheck::RunWrite<&Database::Upsert>(VORN_SITE, *this, request);
}

int Database::CreateTable(CreateRequest& request) {
  return vorncheck::RunWrite<&Database::CreateTable>(VORN_SITE, *this, request);
}

int Database::DropTable(DropRequest& request) {
  return vorncheck::RunWrite<&Database::DropTable>(VORN_SITE, *this, request);
}

int Database::Select(SelectRequest& request, Cursor& cursor) {
  return vorncheck::RunQuery<&Database::Select>(VORN_SITE, *this, request, cursor);
}

int Database::JoinSelect(JoinRequest& request, Cursor& cursor) {
  return vorncheck::RunQuery<&Database::JoinSelect>(VORN_SITE, *this, request, cursor);
}

int Database::CheckExistTable(BasePath& path, const char* table, bool& exists) {
  using vorncheck::Operation;
  constexpr auto kMember = &Database::CheckExistTable;
  Operation operation(vorncheck::Next<kMember>::Symbol(), VORN_SITE);
  return vorncheck::Run<kMember>(
      operation, *this, path,
      [&](Operation& checking) {
        if (table != nullptr) {
          vorncheck::CheckExistence(checking, table);
        }
      },
      table, exists);
}
