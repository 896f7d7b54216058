#include "Operations.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <type_traits>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace operations {

Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

namespace {

const Strings kContacts = {"contact", "1|Kim", "2|Lee"};
const Strings kNotes = {"note", "10|1|first", "11|1|second", "12|2|third"};
const Strings kInitial = kContacts + kNotes;

template <typename Request>
TextField PairField(const std::string& name, void (Request::*set)(const char*, const char*),
                    void (Request::*get)(std::string&, std::string&)) {
  return {name, true,
          [set](BasePath& request, const char* first, const char* second) {
            (static_cast<Request&>(request).*set)(first, second);
          },
          [get](BasePath& request, std::string& first, std::string& second) {
            (static_cast<Request&>(request).*get)(first, second);
          }};
}

template <typename Request>
TextField TableField() {
  return {"Table", false,
          [](BasePath& request, const char* table, const char*) {
            static_cast<Request&>(request).SetTable(table);
          },
          [](BasePath& request, std::string& table, std::string&) {
            static_cast<Request&>(request).GetTable(table);
          }};
}

// How a member of Database takes its request.
template <typename Request>
void SetRun(Operation& operation, int (Database::*member)(Request&)) {
  operation.kind = Kind::kWrite;
  operation.run = [member](Database& database, BasePath& request, const Texts&, Cursor&, bool&) {
    return (database.*member)(static_cast<Request&>(request));
  };
}

template <typename Request>
void SetRun(Operation& operation, int (Database::*member)(Request&, Cursor&)) {
  operation.kind = Kind::kFillsCursor;
  operation.run = [member](Database& database, BasePath& request, const Texts&, Cursor& cursor,
                           bool&) {
    return (database.*member)(static_cast<Request&>(request), cursor);
  };
}

// The members of an entry that follow from the names of its functions.
template <typename Request, typename Member>
Operation OperationOf(const std::string& member, Member run, const std::string& request,
                      void (SqlGenerator::*generate)(Request&, std::string&),
                      const std::string& logName, std::vector<TextField> fields,
                      void (*fill)(Request&, const Texts&)) {
  static_assert(!std::is_copy_constructible_v<Request> && !std::is_copy_assignable_v<Request>,
                "a copy would release the same text twice");
  static_assert(std::has_virtual_destructor_v<Request>);
  Operation operation;
  operation.member = member;
  SetRun(operation, run);
  operation.success = operation.IsWrite() ? logName + " SUCCESS[%d]" : "";
  operation.failure = logName + " FAILED[%d]: %s";
  for (const TextField& field : fields) {
    operation.getters.push_back("Get" + field.name);
  }
  operation.request.fields = std::move(fields);
  operation.request.name = request;
  operation.request.isTraced = true;
  operation.request.isSet = std::is_base_of_v<BaseSet, Request>;
  operation.request.make = [] { return std::make_unique<Request>(); };
  operation.request.generate = [generate](BasePath& path, std::string& sql) {
    (SqlGenerator().*generate)(static_cast<Request&>(path), sql);
  };
  operation.fill = [fill](BasePath& path, const Texts& texts) {
    fill(static_cast<Request&>(path), texts);
  };
  return operation;
}

template <typename Request>
void SetWhere(Request& request, const Texts& texts) {
  if (texts["whereColumn"] != nullptr) {
    request.SetWhere(texts["whereColumn"], texts["whereValue"]);
  }
}

// The entries.

Operation Update() {
  Operation own = OperationOf<UpdateRequest>(
      "Update", &Database::Update, "UpdateRequest", &SqlGenerator::GetUpdateSql, "update",
      {TableField<UpdateRequest>()}, [](UpdateRequest& request, const Texts& texts) {
        request.SetTable(texts["table"]);
        request.SetData(texts["column"], texts["value"]);
        SetWhere(request, texts);
      });
  own.statements = {{"UPDATE {table} SET {column} = '{value}' WHERE {whereColumn}='{whereValue}'"}};
  const Texts texts = {{"table", "contact"},
                       {"column", "name"},
                       {"value", "Ann"},
                       {"whereColumn", "uid"},
                       {"whereValue", "1"}};
  own.cases = {{"Update", texts, Strings{"contact", "1|Ann", "2|Lee"} + kNotes},
               {"UpdateOfNoRow", texts.With("whereValue", "9"), kInitial}};
  return own;
}

Operation Delete() {
  Operation own = OperationOf<DeleteRequest>(
      "Delete", &Database::Delete, "DeleteRequest", &SqlGenerator::GetDeleteSql, "delete",
      {TableField<DeleteRequest>()}, [](DeleteRequest& request, const Texts& texts) {
        request.SetTable(texts["table"]);
        SetWhere(request, texts);
      });
  own.statements = {{"DELETE  FROM {table}", {"whereColumn"}},
                    {"DELETE  FROM {table} WHERE {whereColumn}='{whereValue}'"}};
  const Texts all = {{"table", "contact"}};
  const Texts one = all.With("whereColumn", "uid").With("whereValue", "1");
  own.cases = {{"Delete", one, Strings{"contact", "2|Lee"} + kNotes},
               {"DeleteOfNoRow", one.With("whereValue", "9"), kInitial},
               {"DeleteOfAllRows", all, Strings{"contact"} + kNotes}};
  return own;
}

Operation Upsert() {
  Operation own = OperationOf<UpsertRequest>(
      "Upsert", &Database::Upsert, "UpsertRequest", &SqlGenerator::GetUpsertSql, "Upsert",
      {TableField<UpsertRequest>()}, [](UpsertRequest& request, const Texts& texts) {
        request.SetTable(texts["table"]);
        for (const std::string number : {"", "2", "3"}) {
          if (texts["column" + number] != nullptr) {
            request.SetData(texts["column" + number], texts["value" + number]);
          }
        }
      });
  own.statements = {
      {"INSERT OR REPLACE INTO {table} ({column}) VALUES ('{value}')", {"column2"}},
      {"INSERT OR REPLACE INTO {table} ({column}, {column2}) VALUES ('{value}', '{value2}')"}};
  const Texts texts = {{"table", "contact"}, {"column", "uid"}, {"value", "3"}};
  own.cases = {{"Upsert", texts, kContacts + Strings{"3|NULL"} + kNotes},
               {"UpsertOfTwoColumns", texts.With("column2", "name").With("value2", "Ann"),
                kContacts + Strings{"3|Ann"} + kNotes}};
  return own;
}

Operation CreateTable() {
  Operation own = OperationOf<CreateRequest>(
      "CreateTable", &Database::CreateTable, "CreateRequest", &SqlGenerator::GetCreateTableSql,
      "createTable",
      {TableField<CreateRequest>(),
       PairField("PrimaryKey", &CreateRequest::SetPrimaryKey, &CreateRequest::GetPrimaryKey),
       PairField("CompositeKey", &CreateRequest::SetCompositeKey, &CreateRequest::GetCompositeKey)},
      [](CreateRequest& request, const Texts& texts) {
        request.SetTable(texts["table"]);
        request.SetPrimaryKey(texts["key"], texts["keyType"]);
        request.SetCompositeKey(texts["key2"], texts["keyType2"]);
        request.SetColumnKey(texts["column"], texts["type"]);
      });
  own.getters.push_back("GetColumnKey");  // of a list
  own.statements = {
      {"CREATE TABLE IF NOT EXISTS {table} (_ID INTEGER PRIMARY KEY, {column} {type})",
       {"key", "keyType"},
       true},
      {"CREATE TABLE IF NOT EXISTS {table} ({key} {keyType} NOT NULL PRIMARY KEY, {column} {type})",
       {"key2", "keyType2"},
       true},
      {"CREATE TABLE IF NOT EXISTS {table} ({key} {keyType}, {key2} {keyType2}, {column} {type}, "
       "PRIMARY KEY({key}, {key2}))"}};
  const Texts noKey = {{"table", "device"}, {"column", "label"}, {"type", "TEXT"}};
  const Texts oneKey = noKey.With("key", "uid").With("keyType", "TEXT");
  const Texts twoKeys = oneKey.With("key2", "serial").With("keyType2", "INTEGER");
  const Strings contents = kContacts + Strings{"device"} + kNotes;
  own.cases = {{"CreateTable", twoKeys, contents},
               {"CreateTableWithOneKey", oneKey, contents},
               {"CreateTableWithoutKey", noKey, contents},
               {"CreateTableThatExists", noKey.With("table", "note"), kInitial, "", true}};
  return own;
}

Operation DropTable() {
  Operation own = OperationOf<DropRequest>(
      "DropTable", &Database::DropTable, "DropRequest", &SqlGenerator::GetDropTableSql, "DropTable",
      {TableField<DropRequest>()},
      [](DropRequest& request, const Texts& texts) { request.SetTable(texts["table"]); });
  own.statements = {{"DROP TABLE {table}"}};
  own.cases = {{"DropTable", {{"table", "note"}}, kContacts}};
  own.worksOnce = true;
  return own;
}

Operation Select() {
  Operation own = OperationOf<SelectRequest>(
      "Select", &Database::Select, "SelectRequest", &SqlGenerator::GetSelectSql, "SELECT",
      {TableField<SelectRequest>()}, [](SelectRequest& request, const Texts& texts) {
        request.SetTable(texts["table"]);
        SetWhere(request, texts);
      });
  own.openFailure = "OpenDB Error: %d";
  own.statements = {{"SELECT * FROM {table}", {"whereColumn"}},
                    {"SELECT * FROM {table} WHERE {whereColumn}='{whereValue}'"}};
  const Texts all = {{"table", "contact"}};
  own.cases = {{"Select", all, kInitial, "uid name | 1 Kim | 2 Lee"},
               {"SelectWhere", all.With("whereColumn", "uid").With("whereValue", "1"), kInitial,
                "uid name | 1 Kim"}};
  return own;
}

Operation JoinSelect() {
  Operation own = OperationOf<JoinRequest>(
      "JoinSelect", &Database::JoinSelect, "JoinRequest", &SqlGenerator::GetJoinSql, "JoinSelect",
      {PairField("LeftJoin", &JoinRequest::SetLeftJoin, &JoinRequest::GetLeftJoin),
       PairField("RightJoin", &JoinRequest::SetRightJoin, &JoinRequest::GetRightJoin)},
      [](JoinRequest& request, const Texts& texts) {
        request.SetLeftJoin(texts["table"], texts["column"]);
        request.SetRightJoin(texts["table2"], texts["column2"]);
        SetWhere(request, texts);
      });
  const std::string sql =
      "SELECT  * FROM {table} INNER JOIN {table2} ON {table}.{column} = {table2}.{column2}";
  own.statements = {{sql, {"whereColumn"}}, {sql + " WHERE {whereColumn}='{whereValue}'"}};
  const Texts all = {
      {"table", "contact"}, {"column", "uid"}, {"table2", "note"}, {"column2", "owner"}};
  own.cases = {{"JoinSelect", all, kInitial,
                "uid name id owner body | 1 Kim 10 1 first | 1 Kim 11 1 second | 2 Lee 12 2 third"},
               {"JoinSelectWhere", all.With("whereColumn", "id").With("whereValue", "12"), kInitial,
                "uid name id owner body | 2 Lee 12 2 third"}};
  return own;
}

Operation CheckExistTable() {
  Operation own;
  own.member = "CheckExistTable";
  own.kind = Kind::kSetsFlag;
  own.run = [](Database& database, BasePath& path, const Texts& texts, Cursor&, bool& exists) {
    return database.CheckExistTable(path, texts["table"], exists);
  };
  own.failure = "CheckExistTable FAILED[%d]: %s";
  own.request.name = "BasePath";
  own.request.make = [] { return std::make_unique<BasePath>(); };
  own.request.fields = {PairField("Path", &BasePath::SetPath, &BasePath::GetPath)};
  own.fill = [](BasePath&, const Texts&) {};
  own.statements = {{"SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='{table}'"}};
  own.cases = {{"CheckExistTable", {{"table", "contact"}}, kInitial, "exists"},
               {"CheckExistTableOfMissing", {{"table", "device"}}, kInitial, "missing"}};
  return own;
}

// A format with its "%d" and its "%s" filled in.
std::string Formatted(const std::string& format, int code, const std::string& text = "") {
  std::string message = format;
  message.replace(message.find("%d"), 2, std::to_string(code));
  const std::size_t end = message.rfind("%s");
  return end == std::string::npos ? message : message.replace(end, 2, text);
}

}  // namespace

const std::vector<Operation>& All() {
  static const std::vector<Operation> all = {Update(),      Delete(),         Upsert(),
                                             CreateTable(), DropTable(),      Select(),
                                             JoinSelect(),  CheckExistTable()};
  return all;
}

const Operation& Get(const std::string& member) {
  const auto found = std::find_if(All().begin(), All().end(),
                                  [&](const Operation& each) { return each.member == member; });
  return found != All().end() ? *found : throw std::out_of_range("no operation " + member);
}

const std::vector<RequestClass>& RequestClasses() {
  static const std::vector<RequestClass> classes = [] {
    std::vector<RequestClass> all;
    for (const Operation& operation : All()) {
      all.push_back(operation.request);
    }
    return all;
  }();
  return classes;
}

std::vector<Subject> AllCases() {
  std::vector<Subject> all;
  for (const Operation& operation : All()) {
    for (const Case& own : operation.cases) {
      all.push_back({&operation, &own});
    }
  }
  return all;
}

Subject GetCase(const std::string& name) {
  const std::vector<Subject> all = AllCases();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Subject& each) { return each.own->name == name; });
  return found != all.end() ? *found : throw std::out_of_range("no case " + name);
}

void PrintTo(const Subject& subject, std::ostream* stream) { *stream << subject.own->name; }

void PrintTo(const RequestClass& request, std::ostream* stream) { *stream << request.name; }

void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.member; }

Texts::Texts(std::vector<Slot> slots) : m_slots(std::move(slots)) {
  for (Slot& slot : m_slots) {
    slot.second = slot.second.c_str();
    m_addressed += slot.second + '\0';
  }
}

const char* Texts::operator[](const std::string& slot) const {
  std::size_t offset = 0;
  for (const auto& [name, text] : m_slots) {
    if (name == slot) {
      return m_addressed.data() + offset;
    }
    offset += text.size() + 1;
  }
  return nullptr;
}

Texts Texts::With(const std::string& slot, const std::string& text) const {
  std::vector<Slot> slots = m_slots;
  const auto found = std::find_if(slots.begin(), slots.end(),
                                  [&](const Slot& each) { return each.first == slot; });
  if (found != slots.end()) {
    found->second = text;
  } else {
    slots.emplace_back(slot, text);
  }
  return Texts(slots);
}

Texts Texts::Without(const std::string& slot) const {
  std::vector<Slot> slots = m_slots;
  slots.erase(std::remove_if(slots.begin(), slots.end(),
                             [&](const Slot& each) { return each.first == slot; }),
              slots.end());
  return Texts(slots);
}

Texts Texts::Renamed(const std::string& from, const std::string& to) const {
  std::vector<Slot> slots = m_slots;
  for (Slot& slot : slots) {
    slot.second = slot.second == from ? to : slot.second;
  }
  return Texts(slots);
}

const char* Schema() {
  return "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT);"
         "INSERT INTO contact VALUES ('1', 'Kim'), ('2', 'Lee');"
         "CREATE TABLE note (id INTEGER PRIMARY KEY, owner TEXT, body TEXT);"
         "INSERT INTO note VALUES (10, '1', 'first'), (11, '1', 'second'), (12, '2', 'third');";
}

Strings Contents(const TemporaryDatabase& file) {
  const Locker reader(file, "");
  Strings contents;
  for (const std::string& table :
       reader.Rows("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
    contents =
        contents + Strings{table} + reader.Rows("SELECT * FROM \"" + table + "\" ORDER BY 1");
  }
  return contents;
}

Strings InitialContents() { return kInitial; }

const Operation::Statement& Operation::StatementOf(const Texts& texts) const {
  const auto fits = [&texts](const Statement& statement) {
    const auto isNone = [&](const std::string& slot) {
      const char* const text = texts[slot];
      return text == nullptr || (statement.isEmptyNone && *text == '\0');
    };
    const Strings& without = statement.without;
    return without.empty() || std::any_of(without.begin(), without.end(), isNone);
  };
  return *std::find_if(statements.begin(), statements.end(), fits);
}

std::string Operation::Sql(const Texts& texts) const {
  const std::string& statement = StatementOf(texts).text;
  std::string sql;
  std::size_t at = 0;
  for (std::size_t open = 0; (open = statement.find('{', at)) != std::string::npos;) {
    const std::size_t close = statement.find('}', open);
    sql += statement.substr(at, open - at);
    sql += texts[statement.substr(open + 1, close - open - 1)];
    at = close + 1;
  }
  return sql + statement.substr(at);
}

std::string Operation::Success() const { return Formatted(success, 0); }

std::string Operation::Failure(int code, const std::string& text) const {
  return Formatted(failure, code, text);
}

std::string Operation::OpenFailure(int code) const { return Formatted(openFailure, code); }

Call::Call(const Operation& operation, const std::string& directory, const std::string& fileName,
           const Texts& texts)
    : m_operation(operation), m_texts(texts), m_request(operation.request.make()) {
  m_request->SetPath(directory.c_str(), fileName.c_str());
  operation.fill(*m_request, m_texts);
}

std::string Call::Answer() {
  if (m_operation.IsWrite()) {
    return "";
  }
  if (m_operation.kind == Kind::kSetsFlag) {
    return exists ? "exists" : "missing";
  }
  std::string answer;
  Strings columns;
  cursor.GetColumn(columns);
  for (const std::string& column : columns) {
    answer += (answer.empty() ? "" : " ") + column;
  }
  for (int row = 0; row < cursor.GetCount(); ++row) {
    cursor.MoveToPosition(row);
    answer += " |";
    for (const std::string& column : columns) {
      std::string cell;
      cursor.GetString(column.c_str(), cell);
      answer += " " + cell;
    }
  }
  return answer;
}

int Run(const std::string& member, Database& database, const TemporaryDatabase& file,
        const Texts& texts) {
  return Call(Get(member), file, texts).Run(database);
}

}  // namespace operations
