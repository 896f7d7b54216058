#include "Subjects.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

Subject::Subject(contract::Operation operation, std::shared_ptr<BasePath> request, Run run)
    : m_operation(std::move(operation)), m_request(std::move(request)), m_run(std::move(run)) {
  // Longer than what a string keeps inside itself.
  cursor.SetColumn("a column that is left from an earlier query");
  cursor.SetData("a column that is left from an earlier query", "an earlier value");
  cursor.MoveToNext();
}

void PrintTo(const SubjectMaker& maker, std::ostream* stream) { *stream << maker.name; }

namespace {

template <typename Request, typename Fill, typename Run>
SubjectMaker MakerOf(contract::Operation operation, Fill fill, Run run) {
  return {operation.member, [=](const char* directory, const char* fileName) {
            auto request = std::make_shared<Request>();
            request->SetPath(directory, fileName);
            fill(*request);
            contract::Operation located = operation;
            located.directory = directory;
            located.fileName = fileName;
            return std::make_unique<Subject>(
                located, request, [request = request.get(), run](Database& database, Subject& own) {
                  return run(database, *request, own);
                });
          }};
}

// What the generator reads from a request, each with a trace.
struct Reads {
  std::string request;
  std::vector<std::string> getters;
};

template <typename Request, typename Fill>
SubjectMaker WriteOf(const std::string& member, const std::string& word, const Reads& reads,
                     int (Database::*run)(Request&), Fill fill) {
  contract::Operation operation;
  operation.member = member;
  operation.success = word + " SUCCESS";
  operation.failure = word + " FAILED";
  operation.requestFile = reads.request + ".cpp";
  operation.getters = reads.getters;
  return MakerOf<Request>(operation, fill, [run](Database& database, Request& request, Subject&) {
    return (database.*run)(request);
  });
}

template <typename Request, typename Fill>
SubjectMaker QueryOf(const std::string& member, const std::string& word, const Reads& reads,
                     bool reportsOpenFailure, int (Database::*run)(Request&, Cursor&), Fill fill) {
  contract::Operation operation;
  operation.member = member;
  operation.failure = word + " FAILED";
  operation.reportsOpenFailure = reportsOpenFailure;
  operation.fillsCursor = true;
  operation.requestFile = reads.request + ".cpp";
  operation.getters = reads.getters;
  return MakerOf<Request>(operation, fill,
                          [run](Database& database, Request& request, Subject& own) {
                            return (database.*run)(request, own.cursor);
                          });
}

SubjectMaker CheckExistTableOf() {
  contract::Operation operation;
  operation.member = "CheckExistTable";
  operation.failure = "CheckExistTable FAILED";
  return MakerOf<BasePath>(
      operation, [](BasePath&) {},
      [](Database& database, BasePath& path, Subject& own) {
        return database.CheckExistTable(path, "note_with_a_name_that_is_long", own.exists);
      });
}

// More than a page, so that a row goes on in others.
const char* LongText() {
  static const std::string text(6000, 'x');
  return text.c_str();
}

}  // namespace

const std::vector<SubjectMaker>& AllSubjects() {
  static const std::vector<SubjectMaker> subjects = {
      WriteOf<UpdateRequest>("Update", "update", {"UpdateRequest", {"GetTable"}}, &Database::Update,
                             [](UpdateRequest& request) {
                               request.SetTable("person");
                               request.SetData("name", LongText());
                               request.SetWhere("uid", 1);
                             }),
      WriteOf<DeleteRequest>("Delete", "delete", {"DeleteRequest", {"GetTable"}}, &Database::Delete,
                             [](DeleteRequest& request) {
                               request.SetTable("note_with_a_name_that_is_long");
                               request.SetWhere("owner", 1);
                             }),
      WriteOf<UpsertRequest>("Upsert", "Upsert", {"UpsertRequest", {"GetTable"}}, &Database::Upsert,
                             [](UpsertRequest& request) {
                               request.SetTable("person");
                               request.SetData("uid", 4);
                               request.SetData("name", LongText());
                               request.SetData("weight", 61.5);
                             }),
      WriteOf<CreateRequest>(
          "CreateTable", "createTable",
          {"CreateRequest", {"GetTable", "GetPrimaryKey", "GetCompositeKey", "GetColumnKey"}},
          &Database::CreateTable,
          [](CreateRequest& request) {
            request.SetTable("animal");
            request.SetPrimaryKey("uid", "INTEGER");
            request.SetCompositeKey("owner", "INTEGER");
            request.SetColumnKey("name", "TEXT");
          }),
      WriteOf<DropRequest>(
          "DropTable", "DropTable", {"DropRequest", {"GetTable"}}, &Database::DropTable,
          [](DropRequest& request) { request.SetTable("note_with_a_name_that_is_long"); }),
      QueryOf<SelectRequest>("Select", "SELECT", {"SelectRequest", {"GetTable"}}, true,
                             &Database::Select,
                             [](SelectRequest& request) { request.SetTable("person"); }),
      QueryOf<JoinRequest>("JoinSelect", "JoinSelect",
                           {"JoinRequest", {"GetLeftJoin", "GetRightJoin"}}, false,
                           &Database::JoinSelect,
                           [](JoinRequest& request) {
                             request.SetLeftJoin("person", "uid");
                             request.SetRightJoin("note_with_a_name_that_is_long", "owner");
                             request.SetWhere("owner", 1);
                           }),
      CheckExistTableOf(),
  };
  return subjects;
}

const SubjectMaker& SubjectOf(const std::string& member) {
  const auto& all = AllSubjects();
  return *std::find_if(all.begin(), all.end(),
                       [&](const SubjectMaker& maker) { return maker.name == member; });
}

const char* SubjectsSchema() {
  return "CREATE TABLE person (uid INTEGER PRIMARY KEY, name TEXT, weight REAL, photo BLOB);"
         "INSERT INTO person VALUES (1, 'a name longer than a short string', 2.5, x'00ff'),"
         " (2, 'Kim', 0.1, NULL), (3, hex(zeroblob(4000)), NULL, NULL);"
         "CREATE TABLE note_with_a_name_that_is_long (id INTEGER PRIMARY KEY, owner INTEGER,"
         " text TEXT);"
         "CREATE INDEX note_owner ON note_with_a_name_that_is_long (owner);"
         "INSERT INTO note_with_a_name_that_is_long VALUES (1, 1, 'first'), (2, 2, 'second'),"
         " (3, 1, hex(zeroblob(3000)))";
}
