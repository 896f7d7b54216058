#include "Next.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace vorncheck {

void* FindNextIfAny(const char* symbol) {
  void* next = dlsym(RTLD_NEXT, symbol);
  // A plug-in brings its libraries into no global scope.
  for (const char* const library : {"libvorndatabase.so", "libsqlite3.so.0"}) {
    if (next == nullptr) {
      if (void* const handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD)) {
        next = dlsym(handle, symbol);
        dlclose(handle);
      }
    }
  }
  return next;
}

void* FindNext(const char* symbol) {
  void* const next = FindNextIfAny(symbol);
  if (next == nullptr) {
    std::cerr << "vorncheck: the program has no " << symbol << std::endl;
    std::abort();
  }
  return next;
}

const char* SymbolOf(const void* function) {
  Dl_info info{};
  return dladdr(function, &info) != 0 && info.dli_sname != nullptr ? info.dli_sname : "";
}

std::string Demangled(const char* symbol) {
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(symbol, nullptr, nullptr, nullptr), std::free);
  return name != nullptr ? name.get() : symbol;
}

// Other parentheses are part of the name: "(anonymous namespace)::Save(int)".
std::string WithoutParameters(const std::string& function) {
  const std::size_t end = function.rfind(')');
  int depth = 0;
  for (std::size_t at = end; at < function.size(); --at) {
    depth += function[at] == ')' ? 1 : 0;
    depth -= function[at] == '(' ? 1 : 0;
    if (depth == 0) {
      return function.substr(0, at);
    }
  }
  return function;
}

}  // namespace vorncheck
