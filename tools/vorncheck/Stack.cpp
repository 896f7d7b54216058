#include "Stack.h"

#include <cxxabi.h>
#include <elfutils/libdwfl.h>
#include <execinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "Check.h"

namespace vorncheck {
namespace {

// Clears the lowest bit, which is the instruction set on ARM. It is not significant elsewhere.
std::uintptr_t Plain(const void* address) {
  return reinterpret_cast<std::uintptr_t>(address) & ~std::uintptr_t{1};
}

std::string Demangled(const char* symbol) {
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(symbol, nullptr, nullptr, nullptr), std::free);
  return name != nullptr ? name.get() : symbol;
}

// Searches each unit: Clang makes no table of their addresses.
Dwarf_Line* LineOf(Dwfl_Module* module, Dwarf_Addr address) {
  Dwarf_Addr bias = 0;
  Dwarf_Die* unit = nullptr;
  while ((unit = dwfl_module_nextcu(module, unit, &bias)) != nullptr) {
    if (dwarf_haspc(unit, address - bias) == 1) {
      return dwarf_getsrc_die(unit, address - bias);
    }
  }
  return nullptr;
}

// The modules of the program at the moment, with their debug information. Their files are open
// only as long as this lives.
using Modules = std::unique_ptr<Dwfl, void (*)(Dwfl*)>;

Modules ReadModules() {
  // Debug files are found by the build identifier alone: the other ways may lead into the network.
  static constexpr Dwfl_Callbacks kCallbacks = {dwfl_linux_proc_find_elf,
                                                dwfl_build_id_find_debuginfo, nullptr, nullptr};
  Modules modules(dwfl_begin(&kCallbacks), dwfl_end);
  dwfl_report_begin(modules.get());
  dwfl_linux_proc_report(modules.get(), getpid());
  dwfl_report_end(modules.get(), nullptr, nullptr);
  return modules;
}

Frame Find(const Modules& modules, const void* address) {
  // The call is before the address to which it returns.
  const auto call = static_cast<Dwarf_Addr>(Plain(address) - 1);
  Frame frame;
  Dwfl_Module* const module = dwfl_addrmodule(modules.get(), call);
  if (module == nullptr) {
    return frame;
  }
  Dwarf_Addr start = 0;
  frame.object =
      dwfl_module_info(module, nullptr, &start, nullptr, nullptr, nullptr, nullptr, nullptr);
  frame.offset = static_cast<unsigned long>(call - start);
  if (const char* const symbol = dwfl_module_addrname(module, call)) {
    frame.function = Demangled(symbol);
  }
  if (Dwarf_Line* const line = LineOf(module, call)) {
    const char* const file = dwarf_linesrc(line, nullptr, nullptr);
    frame.file = file != nullptr ? file : "";
    dwarf_lineno(line, &frame.line);
  }
  return frame;
}

}  // namespace

Stack StackFrom(const void* site) {
  // Our own calls come first.
  void* calls[2 * kMaximumFrames];
  void** const end = calls + backtrace(calls, 2 * kMaximumFrames);
  void** const first = std::find_if(
      calls, end, [site](const void* address) { return Plain(address) == Plain(site); });
  return first == end ? Stack{site} : Stack(first, std::min(end, first + kMaximumFrames));
}

std::vector<Frame> FramesOf(const Stack& stack) {
  auto& known = TheOnly<std::unordered_map<const void*, Frame>>();
  Modules modules(nullptr, dwfl_end);
  std::vector<Frame> frames;
  for (const void* const address : stack) {
    const auto [entry, isNew] = known.try_emplace(address);
    if (isNew) {
      modules = modules != nullptr ? std::move(modules) : ReadModules();
      entry->second = Find(modules, address);
    }
    frames.push_back(entry->second);
    if (frames.back().function == "main") {
      break;
    }
  }
  return frames;
}

}  // namespace vorncheck
