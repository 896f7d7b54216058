#ifndef VORNDATABASE_SRC_FUNCTIONREF_H
#define VORNDATABASE_SRC_FUNCTIONREF_H

#include <utility>

namespace vorn {

template <typename Signature>
class FunctionRef;

// Refers to something callable for the length of a call. A procedure that takes
// one is compiled once, where a template would be once for every caller.
template <typename Result, typename... Args>
class FunctionRef<Result(Args...)> {
 public:
  template <typename Callable>
  FunctionRef(const Callable& callable)  // NOLINT(google-explicit-constructor): for lambdas
      : m_callable(&callable), m_call(&Call<Callable>) {}

  Result operator()(Args... args) const { return m_call(m_callable, std::forward<Args>(args)...); }

 private:
  template <typename Callable>
  static Result Call(const void* callable, Args... args) {
    return (*static_cast<const Callable*>(callable))(std::forward<Args>(args)...);
  }

  const void* m_callable;
  Result (*m_call)(const void*, Args...);
};

}  // namespace vorn

#endif  // VORNDATABASE_SRC_FUNCTIONREF_H
