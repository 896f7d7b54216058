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

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class LockTest : public LibraryTest {
 protected:
  static std::vector<std::string> LockEvents() { return journal::Of({journal::Kind::kMutex}); }

  // The name of the lock of the container at this address.
  static std::string NameOf(const void* container) {
    std::ostringstream name;
    name << std::hex << reinterpret_cast<std::uintptr_t>(container);
    return name.str();
  }

  static auto IsOneGuardedChangeUnder(const std::string& name) {
    return ElementsAre("make " + name, "lock " + name, "unlock " + name, "destroy " + name);
  }
};

// One operation that changes a container.
struct GuardedChange {
  std::string file;
  std::string function;
  // Runs it on an object of its own; gives the container's address.
  std::function<const void*()> run;
};

void PrintTo(const GuardedChange& change, std::ostream* stream) { *stream << change.function; }

template <typename Object, typename Container, typename Change>
std::function<const void*()> Changing(Container& (*containerOf)(Object&), Change change) {
  return [containerOf, change] {
    Object object;
    journal::Clear();
    change(object);
    return &containerOf(object);
  };
}

// The constructor is the only guarded change in the life of a fresh object.
template <typename Object, typename Container>
std::function<const void*()> Constructing(Container& (*containerOf)(Object&)) {
  return [containerOf] {
    Object object;
    return &containerOf(object);
  };
}

std::vector<GuardedChange> GuardedChanges() {
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

class GuardedChangeTest : public LockTest, public ::testing::WithParamInterface<GuardedChange> {};

// 100 is the size of the name's buffer.
TEST_P(GuardedChangeTest, LocksOnceUnderTheAddressOfItsContainer) {
  const void* const container = GetParam().run();
  EXPECT_THAT(LockEvents(), IsOneGuardedChangeUnder(NameOf(container)));
  EXPECT_THAT(fake::Lines(), Not(Contains(HasSubstr("MUTEX_NAME"))));
  EXPECT_THAT(journal::Of({journal::Kind::kFormat}), ElementsAre("100 %" PRIxPTR));
}

// One character is a name. Run on the optimised library, this shows that the compiler kept
// the branch.
TEST_P(GuardedChangeTest, ReportsANameThatCannotBeFormedAndCarriesOn) {
  const std::string& file = GetParam().file;
  const std::string& function = GetParam().function;
  const std::string line = fake::Line(
      6, file, function, "Failed to get MUTEX_NAME at " + file + "::" + function + "[#]");
  for (const int result : {1, 0, -1}) {
    ForgetEvents();
    fake::FailLockNames(result);
    GetParam().run();
    EXPECT_THAT(fake::Lines(), Contains(line).Times(result < 1 ? 1 : 0));
    EXPECT_THAT(LockEvents(), IsOneGuardedChangeUnder(""));
  }
}

INSTANTIATE_TEST_SUITE_P(, GuardedChangeTest, ::testing::ValuesIn(GuardedChanges()),
                         [](const auto& test) {
                           return test.param.function + std::to_string(test.index);
                         });

// A null text throws where a string is built.
TEST_F(LockTest, AnExceptionDestroysTheGuardWithoutUnlocking) {
  const auto expectNoUnlock = [](const void* container, const auto& change) {
    journal::Clear();
    EXPECT_THROW(change(), std::logic_error);
    const std::string name = NameOf(container);
    EXPECT_THAT(LockEvents(), ElementsAre("make " + name, "lock " + name, "destroy " + name));
  };
  const char* const null = nullptr;
  BaseSet set;
  expectNoUnlock(&DataMapOf(set), [&] { set.SetData("c", null); });
  expectNoUnlock(&WhereMapOf(set), [&] { set.SetWhere("c", null); });
  CreateRequest create;
  expectNoUnlock(&ColumnKeysOf(create), [&] { create.SetColumnKey("c", null); });
  Cursor cursor;
  expectNoUnlock(&CellMapOf(cursor), [&] { cursor.SetColumn(null); });
  expectNoUnlock(&CellMapOf(cursor), [&] { cursor.SetData(null, "v"); });
  expectNoUnlock(&CellMapOf(cursor), [&] { cursor.SetData("c", null); });
}

TEST_F(LockTest, NameIsTheAddressInLowerCaseHexadecimalWithoutPrefixOrLeadingZeros) {
  constexpr std::uintptr_t kPage = 0x8F0000;
  constexpr std::size_t kSize = 4096;
  void* const page = mmap(reinterpret_cast<void*>(kPage), kSize, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
  ASSERT_EQ(reinterpret_cast<void*>(kPage), page);
  // The cell map follows the pointer to the virtual table.
  auto* const cursor = new (static_cast<char*>(page) + 0xBC0 - sizeof(void*)) Cursor;
  EXPECT_THAT(LockEvents(), IsOneGuardedChangeUnder("8f0bc0"));
  cursor->~Cursor();
  munmap(page, kSize);
}

// The logger is asked, and runs out of memory, where the lock has no name.
TEST_F(LockTest, ACursorThatCannotBeLockedKeepsRowsAndPosition) {
  Cursor cursor;
  for (const char* column : {"a", "b"}) {
    cursor.SetColumn(column);
    cursor.SetData(column, "1");
  }
  cursor.MoveToPosition(0);
  fake::FailLockNames(0);
  fake::ThrowAtLoggerCall(1);
  EXPECT_THROW(cursor.Initialize(), std::bad_alloc);
  EXPECT_EQ(0, cursor.GetPosition());
  EXPECT_EQ(1, cursor.GetCount());
}

}  // namespace
