// Decides which call of many is to fail.

#ifndef VORN_TESTS_SUPPORT_FAULTPOINT_H
#define VORN_TESTS_SUPPORT_FAULTPOINT_H

class FaultPoint {
 public:
  enum class Kind { kOnce, kAlways };

  // The call after the next `successes` fails: it alone, or it and all that follow.
  void Set(int successes, Kind kind) {
    m_isSet = true;
    m_successes = successes;
    m_kind = kind;
    m_failures = 0;
  }

  // No call fails any more.
  void Clear() { m_isSet = false; }

  // To be asked at every call.
  bool Fails() {
    if (!m_isSet) {
      return false;
    }
    if (m_successes > 0) {
      --m_successes;
      return false;
    }
    if (m_failures > 0 && m_kind == Kind::kOnce) {
      return false;
    }
    ++m_failures;
    return true;
  }

  // How many calls have failed since Set.
  int Failures() const { return m_failures; }

 private:
  bool m_isSet = false;
  int m_successes = 0;
  Kind m_kind = Kind::kOnce;
  int m_failures = 0;
};

#endif  // VORN_TESTS_SUPPORT_FAULTPOINT_H
