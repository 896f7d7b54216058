// The members of Database that run an operation.

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
#include "RequestChecks.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace vorncheck {
namespace {

// Runs an operation: `check` looks at the request before it.
template <auto Member, typename Request, typename Check, typename... Arguments>
int Run(Operation& operation, Database& database, Request& request, Check check,
        Arguments&&... arguments) {
  const Use use(&request, Access::kRead, Next<Member>::Symbol(), operation.Site());
  if (use.IsAlone()) {
    Aside([&] {
      check(operation);
      CheckCommon(operation, request);
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
                     [&](Operation& writing) { CheckRequest(writing, request); });
}

void CheckCursor(const Operation& operation, Cursor& cursor) {
  const auto& cells = cursor.m_cells;
  {
    LockedObject locked(&cursor);
    locked->emptyCells = operation.EmptyCells();
    locked->memory = cells.empty() ? nullptr : cells.begin()->second.data();
  }
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
      operation, database, request, [&](Operation& querying) { CheckRequest(querying, request); },
      cursor);
  if (result == 0 && use.IsAlone()) {
    Aside([&] { CheckCursor(operation, cursor); });
  }
  return result;
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
