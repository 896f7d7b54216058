// What a host compiled against the public headers relies on beyond the names
// that the linker knows: sizes, places, virtual tables and results. The sources
// beside this header tell it class by class, in pairs of numbers: on 32-bit ARM,
// and on x86-64.

#ifndef VORNDATABASE_TESTS_LAYOUT_H
#define VORNDATABASE_TESTS_LAYOUT_H

#include <cstddef>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#if !((defined(__ARM_EABI__) && __SIZEOF_POINTER__ == 4) || \
      (defined(__x86_64__) && __SIZEOF_POINTER__ == 8)) ||  \
    !defined(__GLIBCXX__) || !_GLIBCXX_USE_CXX11_ABI
#error "Known are the layouts on 32-bit ARM (EABI) and on x86-64, with libstdc++ and C++11 strings"
#endif

#ifndef __clang__
#include <tr2/type_traits>
#endif

// GCC warns because the standard leaves offsetof to the compiler for classes with
// virtual functions. GCC and Clang define it for all without virtual bases.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// The compiler names all three numbers when they do not agree.
template <std::size_t Found, std::size_t Arm, std::size_t X86_64>
struct Number {
  static_assert(Found == (sizeof(void*) == 4 ? Arm : X86_64),
                "Number<found, on 32-bit ARM, on x86-64>: this is not what hosts were built for");
};

template <typename Class, std::size_t Arm, std::size_t X86_64>
struct Size : Number<sizeof(Class), Arm, X86_64> {};

template <typename Class, std::size_t Arm, std::size_t X86_64>
struct Alignment : Number<alignof(Class), Arm, X86_64> {};

// Where the members of a derived class begin. The size alone would not show a
// member that fits into the padding at the end.
template <typename Class>
struct Derived : Class {
  char next;
};
template <typename Class, std::size_t Arm, std::size_t X86_64>
struct End : Number<offsetof(Derived<Class>, next), Arm, X86_64> {};

template <typename Found, typename Type, std::size_t Offset, std::size_t Arm, std::size_t X86_64>
struct Member : Number<Offset, Arm, X86_64> {
  static_assert(std::is_same_v<Found, Type>, "Member<found, due, ...>: the member's type differs");
};

// An explicit instantiation may name private members.
#define VORN_MEMBER(Class, Name, Type, Arm, X86_64) \
  template struct Member<decltype(Class::Name), Type, offsetof(Class, Name), Arm, X86_64>

// A member that the base declares shows where the base stands.
#define VORN_BASE(Class, Base, Name, Arm, X86_64) \
  template struct Number<offsetof(Class, Name) - offsetof(Base, Name), Arm, X86_64>

// GCC lists the bases, and so shows one without data. Clang answers for a given one.
#ifdef __clang__
template <typename Class, typename... Bases>
constexpr bool kHasBases = (std::is_base_of_v<Bases, Class> && ...);
#else
template <typename Class, typename... Bases>
constexpr bool kHasBases = std::is_same_v<typename std::tr2::direct_bases<Class>::type,
                                          std::tr2::__reflection_typelist<Bases...>>;
#endif

// The destructor is virtual; that nothing else is, check_layout.sh finds out.
template <typename Class, typename... Bases>
struct Polymorphic {
  static_assert(std::has_virtual_destructor_v<Class>);
  static_assert(kHasBases<Class, Bases...>, "Polymorphic<class, bases...>: the bases differ");
  static_assert((std::is_convertible_v<Class*, Bases*> && ...), "a base is not public");
};

// The name that the linker knows does not hold the type of the result.
template <typename Result, typename Class, typename... Args>
constexpr bool Returns(Result (Class::* /*member*/)(Args...)) {
  return true;
}

// What the classes are made of.
using Text = std::string;
using Texts = std::vector<Text>;
using Cells = std::map<Text, Texts>;
using Columns = std::map<const char*, Text>;
using Keys = std::vector<std::pair<const char*, Text>>;

template struct Size<char*, 4, 8>;
template struct Size<Text, 24, 32>;
template struct Size<Texts, 12, 24>;
template struct Size<Keys, 12, 24>;
template struct Size<Cells, 24, 48>;
template struct Size<Columns, 24, 48>;

#endif  // VORNDATABASE_TESTS_LAYOUT_H
