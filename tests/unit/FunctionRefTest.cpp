#include "private/FunctionRef.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using vorn::FunctionRef;

int CallWith(FunctionRef<int(int)> function, int argument) { return function(argument); }

TEST(FunctionRefTest, CallsWhatItRefersTo) {
  const int base = 40;
  EXPECT_EQ(CallWith([&](int more) { return base + more; }, 2), 42);
}

TEST(FunctionRefTest, RefersInsteadOfCopying) {
  std::string text;
  const auto append = [&text, unique = std::make_unique<int>(0)](const char* piece) {
    text += piece;
    ++*unique;
    return *unique;
  };
  const FunctionRef<int(const char*)> function = append;
  const FunctionRef<int(const char*)> copy = function;
  EXPECT_EQ(function("one "), 1);
  EXPECT_EQ(copy("two"), 2);
  EXPECT_EQ(text, "one two");
}

TEST(FunctionRefTest, PassesReferencesAndMovedValuesOn) {
  const auto store = [](std::string& target, std::unique_ptr<std::string> source) {
    target = *source;
  };
  const FunctionRef<void(std::string&, std::unique_ptr<std::string>)> function = store;
  std::string target;
  function(target, std::make_unique<std::string>("moved"));
  EXPECT_EQ(target, "moved");
}

TEST(FunctionRefTest, LetsExceptionsPass) {
  EXPECT_THROW(CallWith([](int number) -> int { throw number; }, 1), int);
}

// Two words, so that it is passed in registers.
static_assert(sizeof(FunctionRef<void()>) == 2 * sizeof(void*) &&
              std::is_trivially_copyable_v<FunctionRef<void()>>);

}  // namespace
