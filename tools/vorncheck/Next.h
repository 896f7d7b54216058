// The definitions behind ours in the lookup order of the process: those of the library and of
// SQLite, or of another library in between.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_NEXT_H
#define VORNDATABASE_TOOLS_VORNCHECK_NEXT_H

#include <cstring>
#include <utility>

namespace vorncheck {

// Ends the program if there is none.
void* FindNext(const char* symbol);

// The next definition of one of our exported functions.
void* FindNextOf(const void* function);

// The next definition of a member function.
template <auto Member>
struct Next;

template <typename Class, typename Result, typename... Arguments,
          Result (Class::*Member)(Arguments...)>
struct Next<Member> {
  // Next<&Class::Member>::Of(object)(arguments)
  static auto Of(Class& object) {
    static const auto next = Find();
    return [&object](Arguments... arguments) -> Result {
      return (object.*next)(std::forward<Arguments>(arguments)...);
    };
  }

 private:
  // A pointer to a member that is not virtual begins with the address of the function.
  static auto Find() {
    auto next = Member;
    const void* address = nullptr;
    std::memcpy(&address, &next, sizeof address);
    address = FindNextOf(address);
    std::memcpy(&next, &address, sizeof address);
    return next;
  }
};

}  // namespace vorncheck

// The next definition of a function of C.
#define VORN_NEXT(function)                                                        \
  ([] {                                                                            \
    static const auto next =                                                       \
        reinterpret_cast<decltype(&(function))>(::vorncheck::FindNext(#function)); \
    return next;                                                                   \
  }())

#endif  // VORNDATABASE_TOOLS_VORNCHECK_NEXT_H
