#include "NoteTable.h"

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace note_table {

namespace {

constexpr char kTable[] = "note";
constexpr char kUid[] = "uid";
constexpr char kText[] = "text";

template <typename Request>
int RunRequest(int (Database::*operation)(Request&), Request& request,
               const TemporaryDatabase& database) {
  database.Locate(request);
  request.SetTable(kTable);
  return (Database().*operation)(request);
}

}  // namespace

int Run(const Step& step, const TemporaryDatabase& database) {
  switch (step.verb) {
    case Step::Verb::kCreateTable: {
      CreateRequest request;
      request.SetPrimaryKey(kUid, "TEXT");
      request.SetColumnKey(kText, "TEXT");
      return RunRequest(&Database::CreateTable, request, database);
    }
    case Step::Verb::kUpsert: {
      UpsertRequest request;
      request.SetData(kUid, step.uid.c_str());
      request.SetData(kText, step.text.c_str());
      return RunRequest(&Database::Upsert, request, database);
    }
    case Step::Verb::kUpdate: {
      UpdateRequest request;
      request.SetData(kText, step.text.c_str());
      request.SetWhere(kUid, step.uid.c_str());
      return RunRequest(&Database::Update, request, database);
    }
    case Step::Verb::kDelete: {
      DeleteRequest request;
      request.SetWhere(kUid, step.uid.c_str());
      return RunRequest(&Database::Delete, request, database);
    }
    case Step::Verb::kDeleteAll: {
      DeleteRequest request;
      return RunRequest(&Database::Delete, request, database);
    }
    case Step::Verb::kDropTable: {
      DropRequest request;
      return RunRequest(&Database::DropTable, request, database);
    }
  }
  return -1;
}

Content After(const Step& step, Content content) {
  switch (step.verb) {
    case Step::Verb::kCreateTable:
      return content ? content : Content(std::in_place);
    case Step::Verb::kUpsert:
      content.value()[step.uid] = step.text;
      return content;
    case Step::Verb::kUpdate:
      if (const auto row = content.value().find(step.uid); row != content->end()) {
        row->second = step.text;
      }
      return content;
    case Step::Verb::kDelete:
      content.value().erase(step.uid);
      return content;
    case Step::Verb::kDeleteAll:
      content.value().clear();
      return content;
    case Step::Verb::kDropTable:
      return std::nullopt;
  }
  return content;
}

Content Read(const TemporaryDatabase& database, int& result) {
  BasePath path;
  database.Locate(path);
  bool exists = false;
  result = Database().CheckExistTable(path, kTable, exists);
  if (result != 0 || !exists) {
    return std::nullopt;
  }
  SelectRequest request;
  database.Locate(request);
  request.SetTable(kTable);
  Cursor cursor;
  result = Database().Select(request, cursor);
  Content content(std::in_place);
  std::string uid;
  std::string text;
  for (cursor.MoveToFirst(); cursor.MoveToNext() == 0;) {
    cursor.GetString(kUid, uid);
    cursor.GetString(kText, text);
    content->emplace(uid, text);
  }
  return content;
}

}  // namespace note_table
