// The definitions behind ours in the lookup order of the process: those of the library and of
// SQLite, or of another library in between.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_NEXT_H
#define VORNDATABASE_TOOLS_VORNCHECK_NEXT_H

#include <cstring>
#include <string>
#include <utility>

namespace vorncheck {

// Ends the program if there is none.
void* FindNext(const char* symbol);

// The symbol of a function of ours that is exported.
const char* SymbolOf(const void* function);

// The declaration of a function, such as "Cursor::GetInt(char const*, int&)".
std::string Demangled(const char* symbol);

// Leaves the name, such as "Cursor::GetInt".
std::string WithoutParameters(const std::string& function);

inline std::string NameOf(const char* symbol) { return WithoutParameters(Demangled(symbol)); }

// The next definition of a member function, under its own name.
template <auto Member>
struct Next;

template <typename Class, typename Result, typename... Arguments,
          Result (Class::*Member)(Arguments...)>
struct Next<Member> {
  static Result Call(Class& object, Arguments... arguments) {
    static const Function next = Find();
    return (object.*next)(std::forward<Arguments>(arguments)...);
  }

  static const char* Symbol() {
    static const char* const symbol = SymbolOf(AddressOf(Member));
    return symbol;
  }

 private:
  using Function = Result (Class::*)(Arguments...);

  // A pointer to a member that is not virtual begins with the address of the function.
  static const void* AddressOf(Function function) {
    const void* address = nullptr;
    std::memcpy(&address, &function, sizeof address);
    return address;
  }

  static Function Find() {
    Function next = Member;
    const void* const address = FindNext(Symbol());
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
