#include "Mistakes.h"

#include <fcntl.h>
#include <pthread.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "ShimVfs.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr const char* kId = "id";
constexpr const char* kName = "name";
constexpr const char* kFile = "app.db";

std::string folder;

void Expect(bool isTrue, const char* expected) {
  if (!isTrue) {
    throw std::runtime_error(expected);
  }
}

template <typename Request>
void Locate(Request& request, const char* table) {
  request.SetPath(folder.c_str(), kFile);
  request.SetTable(table);
}

// The statement of another program.
void Execute(const std::string& sql) {
  sqlite3* database = nullptr;
  Expect(sqlite3_open((folder + '/' + kFile).c_str(), &database) == SQLITE_OK, "opened");
  Expect(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK, sql.c_str());
  sqlite3_close(database);
}

void CreateContacts() { Execute("CREATE TABLE contact (id TEXT PRIMARY KEY, name TEXT)"); }

int Upsert(UpsertRequest& request) { return Database().Upsert(request); }

void UpsertContact(const char* id, const char* name) {
  UpsertRequest request;
  Locate(request, "contact");
  request.SetData(kId, id);
  request.SetData(kName, name);
  Expect(Upsert(request) == 0, "written");
}

int Select(const char* table, Cursor& cursor) {
  SelectRequest request;
  Locate(request, table);
  return Database().Select(request, cursor);
}

// --- Names and values

// The library reads the name, too, and so the program ends.
void UnmappedName() {
  // Nothing else is mapped there.
  auto* const place = reinterpret_cast<void*>(0x20000000);
  void* const page = mmap(place, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  UpsertRequest request;
  Locate(request, "contact");
  request.SetData(std::strcpy(static_cast<char*>(page), "id"), "1");
  munmap(page, 4096);
  Upsert(request);
}

void FreedName() {
  CreateContacts();
  UpsertRequest request;
  Locate(request, "contact");
  request.SetData(std::string("a_name_that_is_kept_on_the_heap").c_str(), "1");
  Expect(Upsert(request) != 0, "refused");
}

void ChangedNameOfKey() {
  CreateRequest request;
  Locate(request, "contact");
  char name[] = "id";
  request.SetColumnKey(name, "TEXT");
  std::strcpy(name, "no");
  Expect(Database().CreateTable(request) == 0, "created");
}

void DuplicateName() {
  CreateContacts();
  const std::string other = "NAME";
  UpsertRequest request;
  Locate(request, "contact");
  request.SetData(kName, "Kim");
  request.SetData(other.c_str(), "Miles");
  Upsert(request);
}

void DuplicateKey() {
  CreateRequest request;
  Locate(request, "contact");
  request.SetPrimaryKey("id", "TEXT");
  request.SetColumnKey(kId, "TEXT");
  Expect(Database().CreateTable(request) != 0, "refused");
}

void IgnoredCondition() {
  SelectRequest request;
  request.SetWhere(kId, 1);
  request.SetWhere(kId, 2.5);
}

void QuoteInValue() {
  CreateContacts();
  UpsertRequest request;
  Locate(request, "contact");
  request.SetData(kId, "1");
  request.SetData(kName, "Miles O'Brien");
  Expect(Upsert(request) == SQLITE_ERROR, "refused");
}

void QuoteInName() {
  SelectRequest request;
  Locate(request, "con'tact");
  Cursor cursor;
  Expect(Database().Select(request, cursor) == SQLITE_ERROR, "refused");
}

void QuoteInPath() {
  bool exists = false;
  BasePath path;
  path.SetPath(folder.c_str(), "kim's.db");
  Expect(Database().CheckExistTable(path, "contact", exists) == 0, "opened");
}

void QuoteInCheckedTable() {
  bool exists = false;
  BasePath path;
  path.SetPath(folder.c_str(), kFile);
  Database().CheckExistTable(path, "con'tact", exists);
}

void OddName() {
  Cursor cursor;
  Select("my contacts", cursor);
}

void BalancedQuotes() {
  CreateContacts();
  Cursor cursor;
  Expect(Select("pragma_table_info('contact')", cursor) == 0, "selected");
}

void QuotedCheckedTable() {
  bool exists = false;
  BasePath path;
  path.SetPath(folder.c_str(), kFile);
  Database().CheckExistTable(path, "\"contact\"", exists);
}

void LostDigits() {
  UpsertRequest request;
  request.SetData(kName, 3.14159265);
}

void ManyDigits() {
  for (int times = 0; times < 12; ++times) {
    LostDigits();
  }
}

// The checker leaves the application its descriptors.
void NextDescriptor() {
  LostDigits();
  std::cout << "descriptor " << open("/dev/null", O_RDONLY) << '\n';
}

void OnThread(std::size_t stack, void* (*run)(void*), bool isCancelled) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, stack);
  pthread_t thread{};
  Expect(pthread_create(&thread, &attributes, run, nullptr) == 0, "started");
  if (isCancelled) {
    pthread_cancel(thread);
  }
  void* result = nullptr;
  pthread_join(thread, &result);
  Expect((result == PTHREAD_CANCELED) == isCancelled, "ended as wanted");
}

void SmallThread() {
  const auto run = [](void*) -> void* {
    LostDigits();
    return nullptr;
  };
  OnThread(std::size_t{40} << 10, run, false);
}

void CancelledThread() {
  const auto run = [](void*) -> void* {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    usleep(50000);
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    LostDigits();
    pause();
    return nullptr;
  };
  OnThread(std::size_t{1} << 20, run, true);
}

// The thread holds the lock of standard input when the application ends.
void ReadingThread() {
  std::thread([] { std::getchar(); }).detach();
  usleep(50000);
  LostDigits();
}

// A stack of long names, at two times.
template <typename Type>
void Descend(BaseSet& request, const char* value, int depth) {
  if (depth > 0) {
    Descend<Type>(request, value, depth - 1);
  } else {
    request.SetData(kName, value);
  }
}

void DeepStack() {
  UpsertRequest request;
  using Long = std::map<std::string, std::map<std::string, std::function<void(std::string)>>>;
  Descend<Long>(request, "Kim", 20);
  Descend<Long>(request, "Miles", 20);
}

void LostCondition() {
  SelectRequest request;
  request.SetWhere(kName, 0.1 + 0.2);
}

void Infinity() {
  UpsertRequest request;
  request.SetData(kName, std::numeric_limits<double>::infinity());
}

// --- Statements

void UpdateOfAllRows() {
  CreateContacts();
  UpdateRequest request;
  Locate(request, "contact");
  request.SetData(kName, "Kim");
  Expect(Database().Update(request) == SQLITE_ERROR, "refused");
}

void CutUpdate() {
  CreateContacts();
  UpdateRequest request;
  Locate(request, "contact");
  request.SetData(kName, "Kim AND Miles");
  Expect(Database().Update(request) == SQLITE_ERROR, "refused");
}

// --- What leaks

void RepeatedPath() {
  SelectRequest request;
  request.SetPath(folder.c_str(), "one.db");
  request.SetPath(nullptr, "other.db");
}

void RepeatedKey() {
  CreateRequest request;
  request.SetPrimaryKey("one", nullptr);
  request.SetPrimaryKey("other", "TEXT");
}

void RepeatedJoin() {
  JoinRequest request;
  request.SetLeftJoin("one", "id");
  request.SetLeftJoin("other", nullptr);
}

// --- Results

// Only the second lock of a query, that of its first step, is refused.
void BusyStep() {
  CreateContacts();
  UpsertContact("1", "Kim");
  int locks = 0;
  const ShimVfs files([&](const FileEvent& event) {
    const bool isShared = event.call == FileCall::kLock && event.flags == SQLITE_LOCK_SHARED;
    return isShared && ++locks > 1 ? SQLITE_BUSY : SQLITE_OK;
  });
  Cursor cursor;
  Expect(Select("contact", cursor) == 0, "0 for a result that was cut");
}

// All of them are read as they are.
void ExactNumbers() {
  Execute(
      "CREATE TABLE numbers (id TEXT, number TEXT); INSERT INTO numbers VALUES "
      "(1, '+42'), (2, ' 42 '), (3, '-0'), (4, '3.0'), (5, '2147483647'), (6, '042')");
  Cursor cursor;
  Expect(Select("numbers", cursor) == 0, "selected");
  for (int value = 0; cursor.MoveToNext() == 0;) {
    Expect(cursor.GetInt("number", value) == 0, "read");
  }
  Execute("UPDATE numbers SET number = '9007199254740994'");
  Expect(Select("numbers", cursor) == 0 && cursor.MoveToNext() == 0, "selected");
  double value = 0;
  Expect(cursor.GetDouble("number", value) == 0 && value == 9007199254740994, "read");
}

// --- Reads

void SelectCells(Cursor& cursor) {
  Execute(
      "CREATE TABLE cells (id TEXT, part TEXT, none TEXT, blob BLOB, large INTEGER, "
      "half REAL);"
      "INSERT INTO cells VALUES (7, '42abc', NULL, x'00', 9007199254740993, 3.5)");
  Expect(Select("cells", cursor) == 0 && cursor.MoveToNext() == 0, "selected");
}

template <typename Value>
void ReadCell(int (Cursor::*read)(const char*, Value&), const char* column) {
  Cursor cursor;
  SelectCells(cursor);
  Value value{};
  (cursor.*read)(column, value);
}

void UnknownColumn() {
  Cursor cursor;
  SelectCells(cursor);
  std::string value;
  for (int times = 0; times < 5; ++times) {
    Expect(cursor.GetString("ID", value) == 1, "failed");
  }
}

void ReadOffRow() {
  Cursor cursor;
  SelectCells(cursor);
  cursor.MoveToFirst();
  int value = 0;
  Expect(cursor.GetInt(kId, value) == 1, "failed");
}

// --- Waiting and threads

// Makes a change on this thread while another one is in an operation.
void WhileRun(const std::function<void()>& operation, const std::function<void()>& change) {
  CreateContacts();
  std::promise<void> begun;
  std::promise<void> changed;
  bool isFirst = true;
  const ShimVfs files([&](const FileEvent& event) {
    if (event.call == FileCall::kLock && std::exchange(isFirst, false)) {
      begun.set_value();
      changed.get_future().wait();
    }
    return SQLITE_OK;
  });
  const auto run = std::async(std::launch::async, operation);
  begun.get_future().wait();
  change();
  changed.set_value();
  run.wait();
}

void MoveWhileFilled() {
  Cursor cursor;
  WhileRun([&] { Select("contact", cursor); }, [&] { cursor.MoveToFirst(); });
}

void DestroyWhileRun() {
  alignas(BasePath) char memory[sizeof(BasePath)];
  auto* const path = new (memory) BasePath;
  path->SetPath(folder.c_str(), kFile);
  bool exists = false;
  WhileRun([&] { Database().CheckExistTable(*path, "contact", exists); },
           [&] { path->~BasePath(); });
}

// --- No mistake

void None() {
  CreateRequest create;
  Locate(create, "contact");
  create.SetPrimaryKey("", "");
  create.SetColumnKey(kId, "TEXT UNIQUE");
  create.SetColumnKey(kName, "TEXT");
  Expect(Database().CreateTable(create) == 0, "created");
  UpsertContact("1", "Miles O''Brien");
  UpsertContact("2", "Kim");
  for (int times = 0; times < 3; ++times) {
    const std::unique_ptr<UpdateRequest> request(new UpdateRequest);
    Locate(*request, "contact");
    request->SetData("\"name\"", 0.5);
    request->SetWhere(kId, 2);
    Expect(Database().Update(*request) == 0, "changed");
    Expect(typeid(*request) == typeid(UpdateRequest), "of its type");
  }
  Cursor cursor;
  Expect(Select("contact", cursor) == 0, "selected");
  std::string text;
  int rows = 0;
  for (double number = 0; cursor.MoveToNext() == 0; ++rows) {
    Expect(cursor.GetString(kName, text) == 0, "read");
    Expect(text != "0.5" || (cursor.GetDouble(kName, number) == 0 && number == 0.5), "read");
  }
  // The value is the memory of the name.
  text = kName;
  Expect(cursor.MoveToPosition(0) == 0 && cursor.GetString(text.c_str(), text) == 0, "read");
  std::cout << rows << " rows\n";
}

// A setter that fails has set nothing.
void RefusedKey() {
  CreateRequest request;
  Locate(request, "contact");
  try {
    request.SetColumnKey(kId, nullptr);
    Expect(false, "refused");
  } catch (const std::logic_error&) {
    request.SetColumnKey(kId, "TEXT");
  }
  request.SetColumnKey(kName, "TEXT");
  Expect(Database().CreateTable(request) == 0, "created");
}

std::size_t ResidentPages() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages;
}

void ManyObjects() {
  std::size_t before = 0;
  for (int times = 0; times < 20000; ++times) {
    const std::unique_ptr<BasePath> request(new UpsertRequest);
    request->SetPath(folder.c_str(), kFile);
    static_cast<UpsertRequest&>(*request).SetData(kId, 1);
    Cursor cursor;
    cursor.SetColumn(kId);
    const Cursor copy = cursor;
    if (times == 1000) {
      before = ResidentPages();
    }
  }
  Expect(ResidentPages() < before + 100, "memory does not grow");
}

void InChild() {
  if (fork() == 0) {
    LostDigits();
    std::exit(0);
  }
  int status = 0;
  wait(&status);
  std::cout << "status of the child " << WEXITSTATUS(status) << '\n';
}

// On threads that run at once, in a child, and one after the other.
void Several() {
  std::thread digits(LostDigits);
  std::thread otherDigits(LostDigits);
  std::thread condition(IgnoredCondition);
  digits.join();
  otherDigits.join();
  condition.join();
  InChild();
  QuoteInName();
  UnknownColumn();
  DestroyWhileRun();
}

const std::map<std::string, void (*)()> kMistakes = {
    {"UnmappedName", UnmappedName},
    {"ChangedNameOfKey", ChangedNameOfKey},
    {"DuplicateName", DuplicateName},
    {"IgnoredCondition", IgnoredCondition},
    {"QuoteInValue", QuoteInValue},
    {"QuoteInName", QuoteInName},
    {"QuoteInPath", QuoteInPath},
    {"QuoteInCheckedTable", QuoteInCheckedTable},
    {"OddName", OddName},
    {"QuotedCheckedTable", QuotedCheckedTable},
    {"LostDigits", LostDigits},
    {"ManyDigits", ManyDigits},
    {"DeepStack", DeepStack},
    {"LostCondition", LostCondition},
    {"Infinity", Infinity},
    {"UpdateOfAllRows", UpdateOfAllRows},
    {"CutUpdate", CutUpdate},
    {"RepeatedPath", RepeatedPath},
    {"RepeatedKey", RepeatedKey},
    {"RepeatedJoin", RepeatedJoin},
    {"BusyStep", BusyStep},
    {"ReadHalf", [] { ReadCell(&Cursor::GetInt, "half"); }},
    {"ReadNull", [] { ReadCell(&Cursor::GetString, "none"); }},
    {"ReadBlob", [] { ReadCell(&Cursor::GetDouble, "blob"); }},
    {"ReadLargeInt", [] { ReadCell(&Cursor::GetInt, "large"); }},
    {"ReadLargeDouble", [] { ReadCell(&Cursor::GetDouble, "large"); }},
    {"UnknownColumn", UnknownColumn},
    {"ReadOffRow", ReadOffRow},
    {"MoveWhileFilled", MoveWhileFilled},
    {"DestroyWhileRun", DestroyWhileRun},
    {"FreedName", FreedName},
    {"DuplicateKey", DuplicateKey},
    {"BalancedQuotes", BalancedQuotes},
    {"NextDescriptor", NextDescriptor},
    {"SmallThread", SmallThread},
    {"CancelledThread", CancelledThread},
    {"ReadingThread", ReadingThread},
    {"ManyObjects", ManyObjects},
    {"ExactNumbers", ExactNumbers},
    {"RefusedKey", RefusedKey},
    {"None", None},
    {"InChild", InChild},
    {"Several", Several},
};

}  // namespace

int RunMistake(int count, char** arguments) {
  try {
    Expect(count == 3, "arguments: MISTAKE FOLDER");
    folder = arguments[2];
    kMistakes.at(arguments[1])();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "vorn_mistakes: " << error.what() << '\n';
    return 1;
  }
}
