// The named lock around a container, through every operation that takes it.

#include <sys/mman.h>

#include <cinttypes>
#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

#include "Containers.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "LibraryTest.h"
#include "UpsertRequest.h"

namespace {

using fake::Line;
using journal::Kind;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// The name of the lock of the container at this address.
std::string NameOf(const void* container) {
  std::ostringstream name;
  name << std::hex << reinterpret_cast<std::uintptr_t>(container);
  return name.str();
}

std::vector<std::string> LockEvents() { return journal::Of({Kind::kMutex}); }

auto IsOneGuardedChangeUnder(const std::string& name) {
  return ElementsAre("make " + name, "lock " + name, "unlock " + name, "destroy " + name);
}

// One operation that changes a container.
struct Operation {
  std::string file;
  std::string function;
  // Runs it on an object of its own; returns the lock name of its container.
  std::function<std::string()> run;
};

void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.function; }

template <typename Object, typename Container, typename Change>
std::function<std::string()> Changing(Container& (*containerOf)(Object&), Change change) {
  return [containerOf, change] {
    Object object;
    journal::Clear();
    fake::ForgetLockNameCall();
    change(object);
    return NameOf(&containerOf(object));
  };
}

// The constructor is the only guarded change in the life of a fresh object.
template <typename Object, typename Container>
std::function<std::string()> Constructing(Container& (*containerOf)(Object&)) {
  return [containerOf] {
    Object object;
    return NameOf(&containerOf(object));
  };
}

std::vector<Operation> Operations() {
  const auto set = "BaseSet.cpp";
  const auto create = "CreateRequest.cpp";
  const auto cursor = "Cursor.cpp";
  return {
      {set, "BaseSet", Constructing(DataMapOf)},
      {set, "SetData", Changing(DataMapOf, [](BaseSet& s) { s.SetData("c", "v"); })},
      {set, "SetData", Changing(DataMapOf, [](BaseSet& s) { s.SetData("c", 1); })},
      {set, "SetData", Changing(DataMapOf, [](BaseSet& s) { s.SetData("c", 1.5); })},
      {set, "SetWhere", Changing(WhereMapOf, [](BaseSet& s) { s.SetWhere("c", "v"); })},
      {set, "SetWhere", Changing(WhereMapOf, [](BaseSet& s) { s.SetWhere("c", 1); })},
      {set, "SetWhere", Changing(WhereMapOf, [](BaseSet& s) { s.SetWhere("c", 1.5); })},
      {create, "CreateRequest", Constructing(ColumnKeysOf)},
      {create, "SetColumnKey",
       Changing(ColumnKeysOf, [](CreateRequest& r) { r.SetColumnKey("c", "T"); })},
      {cursor, "Cursor", Constructing(CellMapOf)},
      {cursor, "Initialize", Changing(CellMapOf, [](Cursor& c) { c.Initialize(); })},
      {cursor, "SetColumn", Changing(CellMapOf, [](Cursor& c) { c.SetColumn("c"); })},
      {cursor, "SetData", Changing(CellMapOf, [](Cursor& c) { c.SetData("c", "v"); })},
  };
}

class ContainerGuardTest : public LibraryTest, public ::testing::WithParamInterface<Operation> {};

TEST_P(ContainerGuardTest, LocksOnceUnderTheNameOfItsContainer) {
  const std::string name = GetParam().run();
  EXPECT_THAT(LockEvents(), IsOneGuardedChangeUnder(name));
}

TEST_P(ContainerGuardTest, FormsTheNameWithTheBuffersSizeFromTheWholeAddress) {
  GetParam().run();
  const auto call = fake::LastLockNameCall();
  ASSERT_TRUE(call.has_value());
  EXPECT_EQ(100U, call->size);
  EXPECT_EQ("%" PRIxPTR, call->format);
}

// Run on the optimised library, this shows that the compiler kept the branch.
TEST_P(ContainerGuardTest, ReportsANameThatCannotBeFormedAndCarriesOn) {
  for (const int result : {0, -1}) {
    ForgetEvents();
    fake::FailLockNames(result);
    GetParam().run();
    const std::string& file = GetParam().file;
    const std::string& function = GetParam().function;
    EXPECT_THAT(fake::Lines(),
                Contains(Line(6, file, function,
                              "Failed to get MUTEX_NAME at " + file + "::" + function + "[#]"))
                    .Times(1));
    EXPECT_THAT(LockEvents(), ElementsAre("make ", "lock ", "unlock ", "destroy "));
  }
}

TEST_P(ContainerGuardTest, ANameOfOneCharacterIsAName) {
  fake::FailLockNames(1);
  GetParam().run();
  EXPECT_THAT(fake::Lines(), Not(Contains(::testing::HasSubstr("MUTEX_NAME"))));
}

TEST_P(ContainerGuardTest, ReportsNothingWhenTheNameIsFormed) {
  GetParam().run();
  EXPECT_THAT(fake::Lines(), Not(Contains(::testing::HasSubstr("MUTEX_NAME"))));
}

INSTANTIATE_TEST_SUITE_P(, ContainerGuardTest, ::testing::ValuesIn(Operations()),
                         [](const auto& test) {
                           return test.param.function + std::to_string(test.index);
                         });

// Operations that an exception leaves: a null text where a string is built.
struct Failure {
  std::string name;
  std::function<void()> run;
};

void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.name; }

template <typename Object, typename Change>
std::function<void()> FailingOn(Change change) {
  return [change] {
    Object object;
    journal::Clear();
    EXPECT_THROW(change(object), std::logic_error);
    // Its destructor, which takes no lock, is past the events that are looked at.
  };
}

std::vector<Failure> Failures() {
  const char* const null = nullptr;
  return {
      {"SetDataOfNull", FailingOn<BaseSet>([=](BaseSet& s) { s.SetData("c", null); })},
      {"SetWhereOfNull", FailingOn<BaseSet>([=](BaseSet& s) { s.SetWhere("c", null); })},
      {"SetColumnKeyOfNullType",
       FailingOn<CreateRequest>([=](CreateRequest& r) { r.SetColumnKey("c", null); })},
      {"SetColumnOfNull", FailingOn<Cursor>([=](Cursor& c) { c.SetColumn(null); })},
      {"CursorSetDataOfNullColumn", FailingOn<Cursor>([=](Cursor& c) { c.SetData(null, "v"); })},
      {"CursorSetDataOfNullValue", FailingOn<Cursor>([=](Cursor& c) { c.SetData("c", null); })},
  };
}

class ExceptionTest : public LibraryTest, public ::testing::WithParamInterface<Failure> {};

TEST_P(ExceptionTest, DestroysTheGuardWithoutUnlocking) {
  GetParam().run();
  std::vector<std::string> verbs;
  for (const std::string& event : LockEvents()) {
    verbs.push_back(event.substr(0, event.find(' ')));
  }
  EXPECT_THAT(verbs, ElementsAre("make", "lock", "destroy"));
}

INSTANTIATE_TEST_SUITE_P(, ExceptionTest, ::testing::ValuesIn(Failures()),
                         [](const auto& test) { return test.param.name; });

// Puts an object at a place whose container has a known address.
class LowAddressTest : public LibraryTest {
 protected:
  void SetUp() override {
    m_page = mmap(reinterpret_cast<void*>(kPage), kSize, PROT_READ | PROT_WRITE,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(reinterpret_cast<void*>(kPage), m_page);
  }
  void TearDown() override {
    munmap(m_page, kSize);
    LibraryTest::TearDown();
  }

  static constexpr std::uintptr_t kPage = 0x8F0000;
  static constexpr std::size_t kSize = 4096;
  void* m_page = nullptr;
};

TEST_F(LowAddressTest, NameIsTheAddressInLowerCaseHexadecimalWithoutPrefixOrLeadingZeros) {
  // The cell map follows the pointer to the virtual table.
  void* const place = static_cast<char*>(m_page) + 0xABC0 % kSize - sizeof(void*);
  auto* const cursor = new (place) Cursor;
  EXPECT_THAT(LockEvents(),
              ElementsAre("make 8f0bc0", "lock 8f0bc0", "unlock 8f0bc0", "destroy 8f0bc0"));
  cursor->~Cursor();
}

class NamedLockTest : public LibraryTest {};

TEST_F(NamedLockTest, EveryContainerHasALockOfItsOwn) {
  UpsertRequest first;
  UpsertRequest second;
  journal::Clear();
  first.SetData("c", 1);
  first.SetWhere("c", 1);
  second.SetData("c", 1);
  const std::vector<std::string> events = LockEvents();
  ASSERT_EQ(12U, events.size());
  EXPECT_NE(events[0], events[4]);
  EXPECT_NE(events[0], events[8]);
  EXPECT_NE(events[4], events[8]);
}

TEST_F(NamedLockTest, OneContainerKeepsItsLockName) {
  Cursor cursor;
  cursor.SetColumn("a");
  cursor.SetData("a", "1");
  cursor.Initialize();
  const std::vector<std::string> events = LockEvents();
  ASSERT_EQ(16U, events.size());
  EXPECT_EQ(events[0], events[4]);
  EXPECT_EQ(events[0], events[8]);
  EXPECT_EQ(events[0], events[12]);
}

// The logger is asked, and runs out of memory, where the lock has no name.
TEST_F(NamedLockTest, ACursorThatCannotBeLockedKeepsRowsAndPosition) {
  Cursor cursor;
  cursor.SetColumn("a");
  cursor.SetColumn("b");
  cursor.SetData("a", "1");
  cursor.SetData("b", "2");
  cursor.MoveToPosition(0);
  fake::FailLockNames(0);
  fake::ThrowAtLoggerCall(1);
  EXPECT_THROW(cursor.Initialize(), std::bad_alloc);
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(NamedLockTest, ReadersAndDestructorsTakeNoLock) {
  {
    BaseSet set;
    CreateRequest create;
    Cursor cursor;
    cursor.SetColumn("a");
    cursor.SetColumn("b");
    cursor.SetData("a", "1");
    cursor.SetData("b", "2");
    journal::Clear();

    BaseSet::ColumnMap map;
    set.GetDataMap(map);
    set.GetWhereMap(map);
    CreateRequest::ColumnKeys keys;
    create.GetColumnKey(keys);
    std::vector<std::string> columns;
    std::string text;
    int integer = 0;
    double number = 0;
    cursor.GetColumn(columns);
    cursor.GetCount();
    cursor.MoveToNext();
    cursor.MoveToPrev();
    cursor.MoveToPosition(0);
    cursor.GetString("a", text);
    cursor.GetInt("a", integer);
    cursor.GetDouble("a", number);
    cursor.MoveToFirst();
    cursor.MoveToLast();
    cursor.GetPosition();
    cursor.ShowDataLog();
  }
  EXPECT_THAT(LockEvents(), IsEmpty());
}

}  // namespace
