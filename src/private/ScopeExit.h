#ifndef VORNDATABASE_SRC_SCOPEEXIT_H
#define VORNDATABASE_SRC_SCOPEEXIT_H

#include <utility>

namespace vorn {

// Runs an action when its scope is left, by return or by an exception.
template <typename Action>
class ScopeExit {
 public:
  explicit ScopeExit(Action action) : m_action(std::move(action)) {}
  ~ScopeExit() { m_action(); }

  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;

 private:
  Action m_action;
};

}  // namespace vorn

#endif  // VORNDATABASE_SRC_SCOPEEXIT_H
