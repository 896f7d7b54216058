// Makes a mistake in a plug-in, which brings the library along. The plug-in is the first argument.

#include <dlfcn.h>

#include <iostream>

int main(int count, char** arguments) {
  void* const plugin = count > 1 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (plugin == nullptr) {
    std::cerr << "vorn_plugin_host: " << (count > 1 ? dlerror() : "no plug-in is given") << '\n';
    return 1;
  }
  const auto run = reinterpret_cast<int (*)(int, char**)>(dlsym(plugin, "RunMistake"));
  return run(count - 1, arguments + 1);
}
