// What the sweeps work on: the eight operations, each with objects of its own, and
// a database file on which each has an effect.

#ifndef VORN_TESTS_FAULT_SUBJECTS_H
#define VORN_TESTS_FAULT_SUBJECTS_H

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "BasePath.h"
#include "Contract.h"
#include "Cursor.h"
#include "Database.h"

// An operation with its request. Cursor and flag hold something from before.
class Subject {
 public:
  using Run = std::function<int(Database&, Subject&)>;
  Subject(contract::Operation operation, std::shared_ptr<BasePath> request, Run run);

  const contract::Operation& Operation() const { return m_operation; }
  int RunOn(Database& database) { return m_run(database, *this); }

  Cursor cursor;
  bool exists = false;

 private:
  contract::Operation m_operation;
  std::shared_ptr<BasePath> m_request;
  Run m_run;
};

// Makes the subject for a file at a place.
struct SubjectMaker {
  std::string name;  // of the member of Database
  std::function<std::unique_ptr<Subject>(const char* directory, const char* fileName)> make;
};
void PrintTo(const SubjectMaker& maker, std::ostream* stream);

const std::vector<SubjectMaker>& AllSubjects();
const SubjectMaker& SubjectOf(const std::string& member);

// The SQL text that makes the database file, without and with the effect of none.
const char* SubjectsSchema();

#endif  // VORN_TESTS_FAULT_SUBJECTS_H
