// The constructors and destructors of requests and cursors: their notes end with them. The
// library calls a destructor through the virtual table of the class, so the table is ours, too.

#include "Check.h"
#include "Next.h"
#include "Objects.h"

namespace vorncheck {
namespace {

using Lifetime = void* (*)(void*);

// A virtual table with a destructor alone. The type information is the library's own; a plug-in
// may bring it along later.
struct Table {
  const void* offset;
  const void* type;
  void* (*complete)(void*);
  void* (*deleting)(void*);
};

void* Construct(void* object, Lifetime next, Table& table, const char* type) {
  if (table.type == nullptr) {
    table.type = FindNext(type);
  }
  Check([object] { Forget(object); });
  return next(object);
}

void* Destroy(const Call& call, Lifetime next, void* object) {
  const Use use(call);
  Check([object] { Forget(object); });
  return next(object);
}

}  // namespace
}  // namespace vorncheck

// On ARM, constructors and destructors return their object.
#define VORN_LIFETIME(function, symbol, ...)                                                     \
  extern "C" void* function(void* object) asm(symbol);                                           \
  void* function(void* object) {                                                                 \
    static const auto next = reinterpret_cast<vorncheck::Lifetime>(vorncheck::FindNext(symbol)); \
    return vorncheck::__VA_ARGS__;                                                               \
  }
#define VORN_CONSTRUCTOR(Class, name, kind)         \
  VORN_LIFETIME(Class##kind, "_ZN" name #kind "Ev", \
                Construct(object, next, Class##Table, "_ZTI" name))
#define VORN_DESTRUCTOR(Class, name, kind) \
  VORN_LIFETIME(                           \
      Class##kind, "_ZN" name #kind "Ev",  \
      Destroy({#Class "::~" #Class, VORN_SITE, object, vorncheck::Access::kChange}, next, object))

// The functions of a class, by its name with the length in front.
#define VORN_CLASS(Class, name)                                             \
  extern "C" const char Class##Type asm("_ZTI" name) __attribute__((weak)); \
  extern "C" vorncheck::Table Class##Table asm("_ZTV" name);                \
  VORN_CONSTRUCTOR(Class, name, C1)                                         \
  VORN_CONSTRUCTOR(Class, name, C2)                                         \
  VORN_DESTRUCTOR(Class, name, D0)                                          \
  VORN_DESTRUCTOR(Class, name, D1)                                          \
  VORN_DESTRUCTOR(Class, name, D2)                                          \
  vorncheck::Table Class##Table = {nullptr, &Class##Type, &Class##D1, &Class##D0};

// A plug-in completes the tables.
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
VORN_CLASS(BasePath, "8BasePath")
VORN_CLASS(BaseSet, "7BaseSet")
VORN_CLASS(CreateRequest, "13CreateRequest")
VORN_CLASS(Cursor, "6Cursor")
VORN_CLASS(DeleteRequest, "13DeleteRequest")
VORN_CLASS(DropRequest, "11DropRequest")
VORN_CLASS(JoinRequest, "11JoinRequest")
VORN_CLASS(SelectRequest, "13SelectRequest")
VORN_CLASS(UpdateRequest, "13UpdateRequest")
VORN_CLASS(UpsertRequest, "13UpsertRequest")
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)
