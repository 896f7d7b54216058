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
#include "LockHolder.h"
#include "Report.h"
#include "Sql.h"

namespace vorncheck {
namespace {

// --- Findings

// Of a character in UTF-8.
bool IsFirst(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }
bool IsControl(char byte) { return static_cast<unsigned char>(byte) < ' '; }

// Shows the part of a statement around the mark.
void ShowStatement(Finding& finding, const std::string& sql, std::size_t mark) {
  constexpr std::size_t kAround = 50;
  const std::size_t begin = mark > kAround ? mark - kAround : 0;
  std::string& excerpt = finding.excerpt;
  excerpt = (begin > 0 ? "..." : "") + sql.substr(begin, mark - begin);
  finding.mark = static_cast<std::size_t>(std::count_if(excerpt.begin(), excerpt.end(), IsFirst));
  excerpt += sql.substr(mark, kAround) + (mark + kAround < sql.size() ? "..." : "");
  std::replace_if(excerpt.begin(), excerpt.end(), IsControl, ' ');
}

// With the call site of the operation, and that of a setter if it is known.
void ReportRun(const Operation& operation, Kind kind, const std::string& sentence,
               const Stack& setter = {}, std::size_t mark = std::string::npos) {
  const void* const site = operation.call.site;
  Finding finding{kind, site, sentence, {{"run at", StackFrom(site)}}};
  if (!setter.empty()) {
    finding.stacks.emplace_back("set at", setter);
  }
  if (mark <= operation.sql.size()) {
    ShowStatement(finding, operation.sql, mark);
  }
  Report(finding);
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
  const char* const pointer = item.pointer;
  if (pointer == nullptr) {
    return;
  }
  const bool isReadable = IsReadable(pointer);
  const std::string now(isReadable ? pointer : "",
                        isReadable ? strnlen(pointer, item.name.size() + 1) : 0);
  if (!isReadable || now != item.name) {
    ReportRun(operation, Kind::kDanglingName,
              Text("the column name ", Shown(item.name),
                   isReadable ? " is " + Shown(now) + " now" : " is no longer in memory", ", when ",
                   operation.call.name, " reads it"),
              item.stack);
  }
}

void ReportQuote(const Operation& operation, const char* role, const std::string& text,
                 const std::string& written, std::size_t quote, const Stack& setter) {
  const std::size_t place = operation.sql.find(written);
  ReportRun(operation, Kind::kUnescapedQuote,
            Text("the ", role, ' ', Shown(text), " ends early in the statement, at its quote"),
            setter, place != std::string::npos ? place + quote : place);
}

void CheckPath(const Operation& operation, const Item& part) {
  if (LoneQuote(part.name) != std::string::npos) {
    ReportRun(operation, Kind::kUnescapedQuote,
              Text("the ", part.role, ' ', Shown(part.name),
                   " has a quote; a path is no SQL, so a doubled one would be two"),
              part.stack);
  }
}

void CheckForm(const Operation& operation, const Item& item) {
  const char* const fault = FaultOf(item.name);
  if (fault != nullptr && OpenQuote(item.name) == std::string::npos) {
    ReportRun(operation, Kind::kOddIdentifier,
              Text("the ", item.role, ' ', Shown(item.name), fault), item.stack);
  }
}

void CheckNameQuotes(const Operation& operation, const Item& item) {
  const std::size_t quote = OpenQuote(item.name);
  if (quote != std::string::npos) {
    ReportQuote(operation, item.role, item.name, item.name, quote, item.stack);
  }
}

void CheckValueQuotes(const Operation& operation, const char* role, const std::string& value,
                      const Stack& setter) {
  const std::size_t quote = LoneQuote(value);
  if (quote != std::string::npos) {
    ReportQuote(operation, role, value, '\'' + value + '\'', quote + 1, setter);
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
              {{"run at", StackFrom(operation.call.site)},
               {"set at", item->stack},
               {"and at", first->second->stack}}});
    }
  }
}

void CheckExistence(const Operation& operation) {
  const std::string& table = operation.checkedTable;
  if (table[0] == '"') {
    ReportRun(
        operation, Kind::kOddIdentifier,
        Text("the table name ", Shown(table), " is compared as a text, with its double quotes"));
  }
}

bool IsUnconditional(const Operation& operation, std::string_view name) {
  return operation.call.name == name && ItemsIn(operation, kWhere).empty();
}

void CheckDelete(const Operation& operation) {
  if (IsUnconditional(operation, "Database::Delete")) {
    ReportRun(operation, Kind::kUnconditionalDelete,
              Text(operation.call.name, " has no condition, so it deletes all rows"));
  }
}

void CheckUpdate(const Operation& operation) {
  if (IsUnconditional(operation, "Database::Update")) {
    constexpr std::string_view kEnd = " WHERE ";
    const std::string& sql = operation.sql;
    const bool isCut = !sql.empty() && sql.rfind(kEnd) + kEnd.size() != sql.size();
    ReportRun(operation, Kind::kCutUpdate,
              Text(operation.call.name, " has no condition, ",
                   isCut ? "and is cut at the last \" AND\" of a value" : "so SQLite refuses it"),
              {}, sql.size());
  }
}

void CheckStatement(const Operation& operation) {
  for (const Item* const item : ItemsIn(operation, kEverywhere & ~kPath)) {
    CheckNameQuotes(operation, *item);
    CheckValueQuotes(operation, "value", item->value, item->stack);
  }
  CheckValueQuotes(operation, "table name", operation.checkedTable, {});
  CheckUpdate(operation);
}

// --- The course

void CheckCourse(const Operation& operation, int result) {
  const char* const name = operation.call.name;
  if (!operation.leaked.empty()) {
    ReportRun(operation, Kind::kLeakedHandle,
              Text(name, " could not open ", Shown(operation.path), ", and ",
                   operation.leaked.size(), " of SQLite's handles leaked"));
  }
  if (result == SQLITE_OK && operation.isStepped && !operation.isComplete) {
    ReportRun(operation, Kind::kTruncatedResult,
              Text(name, " returned 0, but its result ends after ", operation.rows,
                   " rows: ", operation.failure));
  }
  if (operation.waits > 0) {
    ReportRun(operation, Kind::kBusyWait,
              Text(name, " found ", Shown(operation.path), " busy ", operation.waits,
                   " times and waited ", Shown(operation.waited), "; locked by ",
                   operation.holders.empty() ? "an unknown process" : operation.holders));
  }
  const auto taken = Operation::Clock::now() - operation.start;
  const std::chrono::milliseconds limit(TheOptions().mainThread);
  if (limit.count() != 0 && taken > limit && syscall(SYS_gettid) == getpid()) {
    ReportRun(operation, Kind::kMainThread,
              Text(name, " took ", Shown(taken), " on the main thread"));
  }
}

}  // namespace

Operation::Operation(const Call& theCall, unsigned thePlaces) : call(theCall), places(thePlaces) {
  Current() = this;
}

Operation::~Operation() {
  Current() = outer;
  Check([this] { CountOperation(waited); });
}

Operation*& Operation::Current() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  thread_local Operation* current = nullptr;
  return current;
}

void Operation::NoteStatement(const char* statement) {
  if (sql.empty()) {
    sql = statement;
    CheckStatement(*this);
  }
}

void Operation::NoteBusy() {
  isBusy = true;
  busySince = Clock::now();
  if (waits++ == 0) {
    holders = LockHolders(path);
  }
}

void Operation::NoteRepeated() {
  if (isBusy) {
    waited += Clock::now() - busySince;
    isBusy = false;
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
    ReportRun(operation, Kind::kHiddenRows,
              Text("the result has the column ", Shown(cells.begin()->first),
                   " alone, so only the first of ", cells.begin()->second.size(),
                   " rows can be reached"));
  }
  std::map<std::string, int> known;
  for (const std::string& column : cursor.m_columns) {
    if (++known[column] == 2) {
      ReportRun(operation, Kind::kSharedColumn,
                Text("several columns of the result are named ", Shown(column),
                     ", and share one list of cells"));
    }
  }
}

}  // namespace vorncheck
