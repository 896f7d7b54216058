#include "Next.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace vorncheck {
namespace {

// A plug-in may have brought a library along, for itself alone.
void* FindInPlugin(const char* symbol) {
  std::vector<std::string> names;
  const auto add = [](dl_phdr_info* object, std::size_t /*size*/, void* list) {
    static_cast<std::vector<std::string>*>(list)->emplace_back(object->dlpi_name);
    return 0;
  };
  dl_iterate_phdr(add, &names);
  for (const std::string& name : names) {
    if (void* const object = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
      void* const found = dlsym(object, symbol);
      dlclose(object);
      if (found != nullptr && found != dlsym(RTLD_DEFAULT, symbol)) {
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

void* FindNextOf(const void* function) {
  Dl_info info{};
  dladdr(function, &info);
  return FindNext(info.dli_sname != nullptr ? info.dli_sname : "");
}

}  // namespace vorncheck
