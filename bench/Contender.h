// What is compared: ways to run the operations of the library on a file.

#ifndef VORNDATABASE_BENCH_CONTENDER_H
#define VORNDATABASE_BENCH_CONTENDER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// The form in which all contenders deliver a result: the cells of each column.
using Columns = std::map<std::string, std::vector<std::string>>;

// A database file.
struct Place {
  std::string directory;
  std::string file;
  std::string Path() const { return directory + '/' + file; }
};

// A row of the table that the operations work on. Its values are texts: what it costs
// to turn numbers into texts is measured apart.
struct Contact {
  const char* uid;
  const char* name;
  const char* phone;
  const char* mail;
  const char* age;
};

// Every call opens the file, runs one statement and closes the file. Values stand in
// the statement in quotes, as the library writes them. Failures are thrown.
class Contender {
 public:
  Contender() = default;
  virtual ~Contender() = default;
  Contender(const Contender&) = delete;
  Contender& operator=(const Contender&) = delete;

  virtual void CreateContact(const Place& place) = 0;
  virtual void DropContact(const Place& place) = 0;
  virtual void UpsertContact(const Place& place, const Contact& contact) = 0;
  virtual void UpdateName(const Place& place, const char* uid, const char* name) = 0;
  virtual void DeleteContact(const Place& place, const char* uid) = 0;
  virtual bool HasTable(const Place& place, const char* table) = 0;

  // These keep their result in memory, in a form of the contender's own where it
  // has one, until Release.
  virtual void SelectContact(const Place& place, const char* uid) = 0;
  virtual void JoinNotes(const Place& place, const char* uid) = 0;
  virtual void SelectAll(const Place& place, const char* table) = 0;
  virtual void Release() = 0;

  // A copy of the result, to be checked.
  virtual Columns Result() = 0;
};

// A contender that has a way of its own to run statements.
class SqlContender : public Contender {
 public:
  void CreateContact(const Place& place) final;
  void DropContact(const Place& place) final;
  void UpsertContact(const Place& place, const Contact& contact) final;
  void UpdateName(const Place& place, const char* uid, const char* name) final;
  void DeleteContact(const Place& place, const char* uid) final;
  bool HasTable(const Place& place, const char* table) final;
  void SelectContact(const Place& place, const char* uid) final;
  void JoinNotes(const Place& place, const char* uid) final;
  void SelectAll(const Place& place, const char* table) final;

  virtual void Execute(const std::string& path, const std::string& sql) = 0;
  // Replaces the result.
  virtual void Query(const std::string& path, const std::string& sql) = 0;
  // The integer in the only cell of the answer.
  virtual int QueryNumber(const std::string& path, const std::string& sql) = 0;
};

// One that copies its results into columns.
class ColumnsContender : public SqlContender {
 public:
  void Release() final { Columns().swap(m_columns); }
  Columns Result() final { return m_columns; }

 protected:
  Columns& Cells() { return m_columns; }
  // Replaces the columns by empty ones; the result is in the order of the names.
  std::vector<std::vector<std::string>*> Declare(const std::vector<std::string>& names);

 private:
  Columns m_columns;
};

struct NamedContender {
  std::string name;
  std::unique_ptr<Contender> (*make)();
  bool isForQueries = false;  // all else is done as by hand
};

// All that are built in; by hand, against SQLite's functions, comes first.
const std::vector<NamedContender>& Contenders();

// The names of those whose library was not there when this was built.
const std::vector<std::string>& LeftOut();

}  // namespace bench

#endif  // VORNDATABASE_BENCH_CONTENDER_H
