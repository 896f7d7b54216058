#include "Operation.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string_view>

#include "Cursor.h"
#include "Report.h"
#include "Sql.h"

namespace vorncheck {
namespace {

// --- Findings

// Of a character in UTF-8.
bool IsFirst(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }
bool IsControl(char byte) { return static_cast<unsigned char>(byte) < ' '; }

template <typename... Values>
void ReportItem(const Operation& operation, const Item& item, Kind kind,
                const Values&... predicate) {
  Report({kind,
          operation.call.site,
          Text("the ", item.role, ' ', Shown(item.name), predicate...),
          {{"set at", item.stack}}});
}

// Reports a finding with the part of the statement around the mark.
void ReportStatement(Finding finding, const std::string& sql, std::size_t mark) {
  constexpr std::size_t kAround = 50;
  if (mark <= sql.size()) {
    const std::size_t begin = mark > kAround ? mark - kAround : 0;
    std::string& excerpt = finding.excerpt;
    excerpt = (begin > 0 ? "..." : "") + sql.substr(begin, mark - begin);
    finding.mark = static_cast<std::size_t>(std::count_if(excerpt.begin(), excerpt.end(), IsFirst));
    excerpt += sql.substr(mark, kAround) + (mark + kAround < sql.size() ? "..." : "");
    std::replace_if(excerpt.begin(), excerpt.end(), IsControl, ' ');
  }
  Report(std::move(finding));
}

// --- The items of the request

using Items = std::vector<const Item*>;

// A key is in the statement with its type alone.
bool IsGiven(const std::vector<Item>& items, std::string_view key) {
  return std::count_if(items.begin(), items.end(), [&](const Item& item) {
           return item.role == key && !item.name.empty();
         }) == 2;
}

// Those in some places that get into the statement.
Items ItemsIn(const Operation& operation, unsigned places) {
  Items used;
  const auto& items = ObjectAt(operation.call.object).items;
  for (const Item& item : items) {
    const bool isKey = item.place == kKey && item.pointer == nullptr;
    if ((item.place & places & operation.places) != 0 &&
        (!isKey || (IsGiven(items, "primary key") && IsGiven(items, item.role)))) {
      used.push_back(&item);
    }
  }
  return used;
}

// The kernel reads a path before it looks at the folder, of which there is none.
bool IsReadable(const char* text) { return faccessat(-1, text, F_OK, 0) == 0 || errno != EFAULT; }

void CheckPointer(const Operation& operation, const Item& item) {
  if (item.pointer == nullptr) {
    return;
  }
  const bool isReadable = IsReadable(item.pointer);
  const std::size_t length = isReadable ? strnlen(item.pointer, item.name.size() + 1) : 0;
  const std::string now(item.pointer, length);
  if (!isReadable || now != item.name) {
    ReportItem(operation, item, Kind::kDanglingName,
               isReadable ? " is " + Shown(now) + " now" : " is no longer in memory", ", when ",
               operation.call.name, " reads it");
  }
}

void CheckPath(const Operation& operation, const Item& part) {
  if (LoneQuote(part.name) != std::string::npos) {
    ReportItem(operation, part, Kind::kUnescapedQuote,
               " has a quote; a path is no SQL, so a doubled one would be two");
  }
}

void CheckForm(const Operation& operation, const Item& item) {
  const char* const fault = FaultOf(item.name);
  if (fault != nullptr && OpenQuote(item.name) == std::string::npos) {
    ReportItem(operation, item, Kind::kOddIdentifier, fault);
  }
}

// Reports a text that ends at a quote in the statement, unless the quote is npos.
void CheckQuote(const Operation& operation, const char* role, const std::string& text,
                std::size_t quote, const std::string& delimiter, const Stack& setter = {}) {
  if (quote != std::string::npos) {
    const std::size_t place = operation.sql.find(delimiter + text + delimiter);
    ReportStatement(
        {Kind::kUnescapedQuote, operation.call.site,
         Text("the ", role, ' ', Shown(text), " ends early in the statement, at its quote"),
         setter.empty() ? Stacks() : Stacks{{"set at", setter}}},
        operation.sql, place != std::string::npos ? place + delimiter.size() + quote : place);
  }
}

void CheckDuplicates(const Operation& operation, const Items& items) {
  std::map<std::string, const Item*> known;
  for (const Item* const item : items) {
    const auto [first, isNew] = known.try_emplace(LowerCase(item->name), item);
    if (!isNew) {
      Report({Kind::kDuplicateName,
              operation.call.site,
              Text("the statement names the column ", Shown(item->name), " twice"),
              {{"set at", item->stack}, {"and at", first->second->stack}}});
    }
  }
}

void CheckExistence(const Operation& operation) {
  if (operation.checkedTable[0] == '"') {
    Report(Kind::kOddIdentifier, operation.call.site, "the table name ",
           Shown(operation.checkedTable), " is compared as a text, with its double quotes");
  }
}

bool IsUnconditional(const Operation& operation, std::string_view name) {
  return operation.call.name == name && ItemsIn(operation, kWhere).empty();
}

void CheckDelete(const Operation& operation) {
  if (IsUnconditional(operation, "Database::Delete")) {
    Report(Kind::kUnconditionalDelete, operation.call.site, operation.call.name,
           " has no condition, so it deletes all rows");
  }
}

void CheckUpdate(const Operation& operation) {
  if (IsUnconditional(operation, "Database::Update")) {
    constexpr std::string_view kEnd = " WHERE ";
    const std::string& sql = operation.sql;
    const bool isCut = !sql.empty() && sql.rfind(kEnd) + kEnd.size() != sql.size();
    ReportStatement(
        {Kind::kCutUpdate, operation.call.site,
         Text(operation.call.name, " has no condition, ",
              isCut ? "and is cut at the last \" AND\" of a value" : "so SQLite refuses it")},
        sql, sql.size());
  }
}

void CheckStatement(const Operation& operation) {
  for (const Item* const item : ItemsIn(operation, kEverywhere & ~kPath)) {
    CheckQuote(operation, item->role, item->name, OpenQuote(item->name), "", item->stack);
    CheckQuote(operation, "value", item->value, LoneQuote(item->value), "'", item->stack);
  }
  const std::string& table = operation.checkedTable;
  CheckQuote(operation, "table name", table, LoneQuote(table), "'");
  CheckUpdate(operation);
}

// --- The course

void CheckCourse(const Operation& operation, int result) {
  const char* const name = operation.call.name;
  const void* const site = operation.call.site;
  if (!operation.leaked.empty()) {
    Report(Kind::kLeakedHandle, site, name, " could not open ", Shown(operation.path), ", and ",
           operation.leaked.size(), " of SQLite's handles leaked");
  }
  const bool isStepped = operation.step != 0;
  if (result == SQLITE_OK && isStepped && operation.step != SQLITE_DONE) {
    Report(Kind::kTruncatedResult, site, name, " returned 0, but its result ends after ",
           operation.rows, " rows: ", operation.failure);
  }
  if (operation.waits > 0) {
    Report(Kind::kBusyWait, site, name, " found ", Shown(operation.path), " busy ", operation.waits,
           " times and waited ", Shown(operation.waited), "; locked by ",
           operation.holders.empty() ? "an unknown process" : operation.holders);
  }
  const auto taken = Operation::Clock::now() - operation.start;
  const std::chrono::milliseconds limit(TheOptions().mainThread);
  if (limit.count() != 0 && taken > limit && syscall(SYS_gettid) == getpid()) {
    Report(Kind::kMainThread, site, name, " took ", Shown(taken), " on the main thread");
  }
}

}  // namespace

Operation::Operation(const Call& theCall, unsigned thePlaces) : call(theCall), places(thePlaces) {
  current = this;
}

Operation::~Operation() {
  current = outer;
  Check([this] { CountOperation(waited); });
}

void Operation::NoteStatement(const char* statement) {
  if (sql.empty()) {
    sql = statement;
    CheckStatement(*this);
  }
}

void Operation::NoteAttempt(int result) {
  if (result == SQLITE_BUSY) {
    busySince = Clock::now();
    holders = waits++ == 0 ? LockHolders(path) : holders;
  }
}

void Operation::NoteRepeated() {
  if (busySince != Clock::time_point()) {
    waited += Clock::now() - busySince;
    busySince = {};
  }
}

void CheckBefore(const Operation& operation) {
  for (const Item* const item : ItemsIn(operation, kEverywhere)) {
    CheckPointer(operation, *item);
    if (item->place == kPath) {
      CheckPath(operation, *item);
    } else {
      CheckForm(operation, *item);
    }
  }
  for (const Place place : {kKey, kData, kWhere}) {
    CheckDuplicates(operation, ItemsIn(operation, place));
  }
  CheckExistence(operation);
  CheckDelete(operation);
}

void CheckAfter(const Operation& operation, int result) {
  // An application may have its own SQLite, whose calls are not seen.
  if (operation.sql.empty()) {
    CheckStatement(operation);
  }
  CheckCourse(operation, result);
}

void CheckCursor(const Operation& operation, const Cursor& cursor) {
  Object& object = ObjectAt(&cursor);
  const auto& cells = cursor.m_cells;
  object.emptyCells = operation.emptyCells;
  object.memory = cells.empty() ? nullptr : cells.begin()->second.data();
  if (cursor.m_columns.size() == 1 && cells.size() == 1 && cells.begin()->second.size() > 1) {
    Report(Kind::kHiddenRows, operation.call.site, "the result has the column ",
           Shown(cells.begin()->first), " alone, so only the first of ",
           cells.begin()->second.size(), " rows can be reached");
  }
  std::map<std::string, int> known;
  for (const std::string& column : cursor.m_columns) {
    if (++known[column] == 2) {
      Report(Kind::kSharedColumn, operation.call.site, "several columns of the result are named ",
             Shown(column), ", and share one list of cells");
    }
  }
}

}  // namespace vorncheck
