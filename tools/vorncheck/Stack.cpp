#include "Stack.h"

#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "Next.h"
#include "TheOnly.h"

namespace vorncheck {
namespace {

struct Walk {
  std::uintptr_t site;
  Stack stack;
};

// The lowest bit of an ARM address is the instruction set.
std::uintptr_t Plain(const void* address) {
#ifdef __arm__
  constexpr std::uintptr_t kState = 1;
#else
  constexpr std::uintptr_t kState = 0;
#endif
  return reinterpret_cast<std::uintptr_t>(address) & ~kState;
}

_Unwind_Reason_Code Visit(_Unwind_Context* context, void* data) {
  auto& walk = *static_cast<Walk*>(data);
  const auto address = static_cast<std::uintptr_t>(_Unwind_GetIP(context));
  if (address == 0) {
    return _URC_END_OF_STACK;
  }
  if (!walk.stack.empty() || address == walk.site) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the unwinder has addresses as numbers.
    walk.stack.push_back(reinterpret_cast<const void*>(address));
  }
  return walk.stack.size() < kMaximumFrames ? _URC_NO_REASON : _URC_END_OF_STACK;
}

// The application sees its usual numbers of descriptors.
int Moved(int file) {
  constexpr int kLowest = 512;
  const int moved = file >= 0 ? fcntl(file, F_DUPFD_CLOEXEC, kLowest) : -1;
  if (moved < 0) {
    return file;
  }
  close(file);
  return moved;
}

int FindObject(Dwfl_Module* module, void** data, const char* name, Dwarf_Addr base, char** file,
               Elf** elf) {
  return Moved(dwfl_linux_proc_find_elf(module, data, name, base, file, elf));
}

// By the build identifier alone: the other ways may lead into the network.
int FindDebugFile(Dwfl_Module* module, void** data, const char* name, Dwarf_Addr base,
                  const char* file, const char* link, GElf_Word sum, char** found) {
  return Moved(dwfl_build_id_find_debuginfo(module, data, name, base, file, link, sum, found));
}

// The debug information of the process, read when it is first needed.
class Symbols {
 public:
  Frame Find(const void* address) {
    // The call is before the address to which it returns.
    const auto call = static_cast<Dwarf_Addr>(Plain(address) - 1);
    Frame frame;
    if (Dwfl_Module* const module = ModuleOf(call)) {
      Dwarf_Addr start = 0;
      if (const char* const name = dwfl_module_info(module, nullptr, &start, nullptr, nullptr,
                                                    nullptr, nullptr, nullptr)) {
        frame.object = name;
      }
      frame.offset = static_cast<unsigned long>(call - start);
      if (const char* const symbol = dwfl_module_addrname(module, call)) {
        frame.function = Demangled(symbol);
      }
      if (Dwfl_Line* const line = dwfl_module_getsrc(module, call)) {
        const char* const file =
            dwfl_lineinfo(line, nullptr, &frame.line, nullptr, nullptr, nullptr);
        frame.file = file != nullptr ? file : "";
      }
    }
    return frame;
  }

 private:
  // Libraries that were loaded since are read, too.
  Dwfl_Module* ModuleOf(Dwarf_Addr address) {
    if (m_session == nullptr) {
      m_session = dwfl_begin(&kCallbacks);
      Read();
    }
    Dwfl_Module* const module = dwfl_addrmodule(m_session, address);
    if (module != nullptr) {
      return module;
    }
    Read();
    return dwfl_addrmodule(m_session, address);
  }

  void Read() {
    dwfl_report_begin_add(m_session);
    dwfl_linux_proc_report(m_session, getpid());
    dwfl_report_end(m_session, nullptr, nullptr);
  }

  static constexpr Dwfl_Callbacks kCallbacks = {FindObject, FindDebugFile, nullptr, nullptr};
  Dwfl* m_session = nullptr;
};

struct LargeStack {
  std::mutex mutex;
  static constexpr std::size_t kSize = std::size_t{1} << 20;
  std::unique_ptr<char[]> memory{new char[kSize]};
  const std::function<void()>* function = nullptr;
  ucontext_t own{};
  ucontext_t threads{};
  Symbols symbols;
  std::unordered_map<const void*, Frame> known;
};

void RunOnLargeStack() {
  try {
    (*TheOnly<LargeStack>().function)();
  } catch (...) {
    // As in Aside(): this is not reported.
  }
}

}  // namespace

Stack StackFrom(const void* site) {
  Walk walk{Plain(site), {}};
  _Unwind_Backtrace(Visit, &walk);
  if (walk.stack.empty()) {
    walk.stack.push_back(site);
  }
  return walk.stack;
}

void OnLargeStack(const std::function<void()>& function) {
  auto& stack = TheOnly<LargeStack>();
  const std::lock_guard<std::mutex> lock(stack.mutex);
  stack.function = &function;
  getcontext(&stack.own);
  stack.own.uc_stack.ss_sp = stack.memory.get();
  stack.own.uc_stack.ss_size = LargeStack::kSize;
  stack.own.uc_link = &stack.threads;
  makecontext(&stack.own, RunOnLargeStack, 0);
  swapcontext(&stack.threads, &stack.own);
}

const Frame& FrameAt(const void* address) {
  auto& stack = TheOnly<LargeStack>();
  const auto [entry, isNew] = stack.known.try_emplace(address);
  if (isNew) {
    entry->second = stack.symbols.Find(address);
  }
  return entry->second;
}

void LockLargeStack() { TheOnly<LargeStack>().mutex.lock(); }
void UnlockLargeStack() { TheOnly<LargeStack>().mutex.unlock(); }

}  // namespace vorncheck
