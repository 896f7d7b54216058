// The catalogue of the library's operations and request classes. Each is described once;
// a sweep takes all of them, a test picks one by name.

#ifndef VORN_TESTS_SUPPORT_OPERATIONS_H
#define VORN_TESTS_SUPPORT_OPERATIONS_H

#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BasePath.h"
#include "Cursor.h"
#include "Database.h"
#include "TemporaryDatabase.h"

namespace operations {

using Strings = std::vector<std::string>;
Strings operator+(Strings left, const Strings& right);

// The texts of a request by slot, such as "table". They lie at ascending addresses: a
// statement holds its columns in the order of the addresses of their names.
class Texts {
 public:
  using Slot = std::pair<std::string, std::string>;
  Texts(std::initializer_list<Slot> slots) : Texts(std::vector<Slot>(slots)) {}
  explicit Texts(std::vector<Slot> slots);

  // Null for a slot without a text.
  const char* operator[](const std::string& slot) const;
  const std::vector<Slot>& Slots() const { return m_slots; }

  // A text ends at its NUL.
  Texts With(const std::string& slot, const std::string& text) const;
  Texts Without(const std::string& slot) const;
  // Every text that is `from` becomes `to`.
  Texts Renamed(const std::string& from, const std::string& to) const;

 private:
  std::vector<Slot> m_slots;
  std::string m_addressed;  // the same texts, each ended by a NUL
};

// A setter that copies its texts, and the getter: SetTable takes one text, others a pair.
struct TextField {
  std::string name;  // without Set and Get
  bool isPair;
  std::function<void(BasePath&, const char* first, const char* second)> set;
  std::function<void(BasePath&, std::string& first, std::string& second)> get;
};

struct RequestClass {
  std::string name;       // of the class, and of its source file
  bool isTraced = false;  // constructor, destructor, setters and getters log a trace
  bool isSet = false;     // a BaseSet
  std::vector<TextField> fields;
  std::function<std::unique_ptr<BasePath>()> make;
  std::function<void(BasePath&, std::string& sql)> generate;  // by SqlGenerator
};

// Classes without an operation of their own are not among them.
const std::vector<RequestClass>& RequestClasses();
void PrintTo(const RequestClass& request, std::ostream* stream);

// The tables that cases of operations work on:
// contact (uid TEXT, name TEXT) and note (id INTEGER, owner TEXT, body TEXT).
const char* Schema();
// Each table of a file by its name, followed by its rows.
Strings Contents(const TemporaryDatabase& file);
// That of the tables of Schema().
Strings InitialContents();

enum class Kind { kWrite, kFillsCursor, kSetsFlag };

// An operation with one set of texts, on the tables of Schema().
struct Case {
  std::string name;  // such as "UpdateOfNoRow"
  Texts texts;
  Strings contents;             // afterwards
  std::string answer = {};      // of a query, as Call::Answer gives it
  bool changesNothing = false;  // a write that needs no lock for writing
};

struct Operation {
  std::string member;  // of Database
  Kind kind = Kind::kWrite;
  // Formats of its records; empty: there is none.
  std::string success, failure, openFailure;
  // The getters that log a trace while the request is read.
  Strings getters;
  RequestClass request;
  // Statements with slots in braces. The first one counts whose slots `without` have no
  // text (or, of keys, one of them an empty text).
  struct Statement {
    std::string text;
    Strings without = {};
    bool isEmptyNone = false;
  };
  std::vector<Statement> statements;
  std::vector<Case> cases;  // the plain one first
  bool worksOnce = false;   // when it is repeated it fails
  std::function<void(BasePath&, const Texts&)> fill;
  std::function<int(Database&, BasePath&, const Texts&, Cursor&, bool& exists)> run;

  bool IsWrite() const { return kind == Kind::kWrite; }
  const Case& Plain() const { return cases.front(); }
  const Texts& PlainTexts() const { return Plain().texts; }
  const Statement& StatementOf(const Texts& texts) const;
  std::string Sql(const Texts& texts) const;
  // Messages of its records.
  std::string Success() const;
  std::string Failure(int code, const std::string& text) const;
  std::string OpenFailure(int code) const;
};

void PrintTo(const Operation& operation, std::ostream* stream);

const std::vector<Operation>& All();
// By the member's name; throws where there is none.
const Operation& Get(const std::string& member);

// A case with its operation.
struct Subject {
  const Operation* operation;
  const Case* own;
};
void PrintTo(const Subject& subject, std::ostream* stream);
std::vector<Subject> AllCases();
Subject GetCase(const std::string& name);

// A filled request, with its caller's cursor and flag.
class Call {
 public:
  Call(const Operation& operation, const std::string& directory, const std::string& fileName,
       const Texts& texts);
  Call(const Operation& operation, const TemporaryDatabase& file, const Texts& texts)
      : Call(operation, file.Directory(), file.FileName(), texts) {}
  Call(const Subject& subject, const TemporaryDatabase& file)
      : Call(*subject.operation, file, subject.own->texts) {}

  int Run(Database& database) {
    return m_operation.run(database, *m_request, m_texts, cursor, exists);
  }
  std::string Sql() const { return m_operation.Sql(m_texts); }
  // Columns and rows of the cursor, "exists" or "missing"; nothing of a write.
  std::string Answer();

  Cursor cursor;
  bool exists = false;

 private:
  const Operation& m_operation;
  const Texts m_texts;  // outlives the request, which keeps pointers to column names
  const std::unique_ptr<BasePath> m_request;
};

// Runs an operation once.
int Run(const std::string& member, Database& database, const TemporaryDatabase& file,
        const Texts& texts);

}  // namespace operations

#endif  // VORN_TESTS_SUPPORT_OPERATIONS_H
