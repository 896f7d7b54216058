#include "Next.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

namespace vorncheck {

namespace {

const void* ObjectOf(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

int AddName(dl_phdr_info* object, std::size_t /*size*/, void* names) {
  static_cast<std::vector<std::string>*>(names)->emplace_back(object->dlpi_name);
  return 0;
}

// The definition in a plug-in, which need not be in the global scope.
void* FindInPlugin(const char* symbol) {
  std::vector<std::string> names;
  dl_iterate_phdr(AddName, &names);
  const void* const ours = ObjectOf(reinterpret_cast<const void*>(&AddName));
  for (const std::string& name : names) {
    if (void* const handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
      void* const found = dlsym(handle, symbol);
      dlclose(handle);
      if (found != nullptr && ObjectOf(found) != ours) {
        return found;
      }
    }
  }
  return nullptr;
}

}  // namespace

void* FindNext(const char* symbol) {
  void* next = dlsym(RTLD_NEXT, symbol);
  next = next != nullptr ? next : FindInPlugin(symbol);
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
