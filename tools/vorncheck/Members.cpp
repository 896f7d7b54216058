// The members of requests, cursors and databases: each call is noted and passed on.

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "Next.h"
#include "Operation.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

// NOLINTNEXTLINE(google-build-using-namespace): the members are a table.
using namespace vorncheck;

// NOLINTBEGIN(bugprone-macro-parentheses): arguments are types and names.
#define VORN_CALL(Class, Member, object, access) \
  Call { #Class "::" #Member, VORN_SITE, object, Access::access }

#define VORN_PASS(Result, Class, Member, parameters, arguments, access)                         \
  Result Class::Member parameters {                                                             \
    const Use use(VORN_CALL(Class, Member, this, access));                                      \
    return Next<static_cast<Result(Class::*) parameters>(&Class::Member)>::Of(*this) arguments; \
  }
#define VORN_SET(Class, Member, parameters, arguments, access, ...)                    \
  void Class::Member parameters {                                                      \
    const Call call = VORN_CALL(Class, Member, this, access);                          \
    const Use use(call);                                                               \
    Next<static_cast<void(Class::*) parameters>(&Class::Member)>::Of(*this) arguments; \
    Check([&] { __VA_ARGS__; });                                                       \
  }

// A part of a request has two texts.
#define VORN_PARTS(Class, Set, Get, one, place, role, other, otherPlace, otherRole) \
  VORN_SET(Class, Set, (const char* one, const char* other), (one, other), kChange, \
           NotePart(call, place, role, one);                                        \
           NotePart(call, otherPlace, otherRole, other))                            \
  VORN_PASS(void, Class, Get, (std::string & one, std::string & other), (one, other), kRead)
// NOLINTEND(bugprone-macro-parentheses)
VORN_PARTS(BasePath, SetPath, GetPath, directory, kPath, "directory", fileName, kPath, "file name")
VORN_PARTS(CreateRequest, SetPrimaryKey, GetPrimaryKey, name, kKey, "primary key", type, kType,
           "primary key")
VORN_PARTS(CreateRequest, SetCompositeKey, GetCompositeKey, name, kKey, "composite key", type,
           kType, "composite key")
VORN_PARTS(JoinRequest, SetLeftJoin, GetLeftJoin, table, kName, "left table name", column, kName,
           "left column name")
VORN_PARTS(JoinRequest, SetRightJoin, GetRightJoin, table, kName, "right table name", column, kName,
           "right column name")

#define VORN_TABLE(Class)                                          \
  VORN_SET(Class, SetTable, (const char* table), (table), kChange, \
           NotePart(call, kName, "table name", table))             \
  VORN_PASS(void, Class, GetTable, (std::string & table), (table), kRead)
VORN_TABLE(CreateRequest)
VORN_TABLE(DeleteRequest)
VORN_TABLE(DropRequest)
VORN_TABLE(SelectRequest)
VORN_TABLE(UpdateRequest)
VORN_TABLE(UpsertRequest)

#define VORN_COLUMN(Member, Value, place)                                              \
  VORN_SET(BaseSet, Member, (const char* column, Value value), (column, value), kFill, \
           NoteColumn(call, place, column, value))
VORN_COLUMN(SetData, const char*, kData)
VORN_COLUMN(SetData, int, kData)
VORN_COLUMN(SetData, double, kData)
VORN_COLUMN(SetWhere, const char*, kWhere)
VORN_COLUMN(SetWhere, int, kWhere)
VORN_COLUMN(SetWhere, double, kWhere)
VORN_PASS(void, BaseSet, GetDataMap, (ColumnMap & columns), (columns), kRead)
VORN_PASS(void, BaseSet, GetWhereMap, (ColumnMap & columns), (columns), kRead)
VORN_SET(CreateRequest, SetColumnKey, (const char* name, const char* type), (name, type), kFill,
         NoteColumn(call, kKey, name))
VORN_PASS(void, CreateRequest, GetColumnKey, (ColumnKeys & keys), (keys), kRead)

VORN_PASS(void, Cursor, Initialize, (), (), kFill)
VORN_PASS(void, Cursor, SetColumn, (const char* name), (name), kFill)
VORN_PASS(void, Cursor, SetData, (const char* column, const char* value), (column, value), kFill)
VORN_PASS(int, Cursor, GetCount, (), (), kRead)
VORN_PASS(int, Cursor, GetColumn, (std::vector<std::string> & columns), (columns), kRead)
VORN_PASS(void, Cursor, MoveToFirst, (), (), kChange)
VORN_PASS(void, Cursor, MoveToLast, (), (), kChange)
VORN_PASS(int, Cursor, MoveToNext, (), (), kChange)
VORN_PASS(int, Cursor, MoveToPrev, (), (), kChange)
VORN_PASS(int, Cursor, MoveToPosition, (int position), (position), kChange)
VORN_PASS(bool, Cursor, IsValidPosition, (int position), (position), kRead)
VORN_PASS(int, Cursor, GetPosition, (), (), kRead)

// --- Operations, with the items of their request that the statement has

#define VORN_OPERATION(Member, request, places) \
  Operation operation(VORN_CALL(Database, Member, request, kRead), kPath | (places))

#define VORN_WRITE(Member, parameters, places)                                          \
  int Database::Member parameters {                                                     \
    VORN_OPERATION(Member, &request, kName | (places));                                 \
    return Run(operation, [&] { return Next<&Database::Member>::Of(*this)(request); }); \
  }
VORN_WRITE(CreateTable, (CreateRequest & request), kKey)
VORN_WRITE(DropTable, (DropRequest & request), 0)
VORN_WRITE(Upsert, (UpsertRequest & request), kData)
VORN_WRITE(Update, (UpdateRequest & request), kData | kWhere)
VORN_WRITE(Delete, (DeleteRequest & request), kWhere)

#define VORN_QUERY(Member, parameters)                                                       \
  int Database::Member parameters {                                                          \
    VORN_OPERATION(Member, &request, kName | kWhere);                                        \
    const Use filling(VORN_CALL(Database, Member, &cursor, kChange));                        \
    const int result =                                                                       \
        Run(operation, [&] { return Next<&Database::Member>::Of(*this)(request, cursor); }); \
    if (result == 0 && filling.IsAlone()) {                                                  \
      Check([&] { CheckCursor(operation, cursor); });                                        \
    }                                                                                        \
    return result;                                                                           \
  }
VORN_QUERY(Select, (SelectRequest & request, Cursor& cursor))
VORN_QUERY(JoinSelect, (JoinRequest & request, Cursor& cursor))

int Database::CheckExistTable(BasePath& path, const char* table, bool& exists) {
  VORN_OPERATION(CheckExistTable, &path, 0);
  Check([&] { operation.checkedTable = table != nullptr ? table : ""; });
  return Run(operation,
             [&] { return Next<&Database::CheckExistTable>::Of(*this)(path, table, exists); });
}
