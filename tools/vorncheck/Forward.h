// The common part of the members that are watched: the use of the object, and the call.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_FORWARD_H
#define VORNDATABASE_TOOLS_VORNCHECK_FORWARD_H

#include <utility>

#include "Next.h"
#include "Objects.h"

namespace vorncheck {

template <auto Member, typename Class, typename... Arguments>
auto Forward(Access access, const void* site, Class& object, Arguments&&... arguments) {
  const Use use(&object, access, Next<Member>::Symbol(), site);
  return Next<Member>::Call(object, std::forward<Arguments>(arguments)...);
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_FORWARD_H
