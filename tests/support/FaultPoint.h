// Decides which call of many is to fail.

#ifndef VORN_TESTS_SUPPORT_FAULTPOINT_H
#define VORN_TESTS_SUPPORT_FAULTPOINT_H

class FaultPoint {
 public:
  enum class Kind { kOnce, kAlways };

  // The call after the next `successes` fails: it alone, or it and all that follow.
  void Set(int successes, Kind kind = Kind::kOnce) {
    *this = FaultPoint();
    m_isSet = true;
    m_successes = successes;
    m_kind = kind;
  }

  // No call fails any more. Answers how many have failed.
  int Clear() {
    m_isSet = false;
    return m_failures;
  }

  // Since Set.
  int Calls() const { return m_calls; }

  // To be asked at every call.
  bool Fails() {
    if (!m_isSet) {
      return false;
    }
    const int before = m_calls++;
    const bool fails = before == m_successes || (before > m_successes && m_kind == Kind::kAlways);
    m_failures += fails ? 1 : 0;
    return fails;
  }

 private:
  bool m_isSet = false;
  Kind m_kind = Kind::kOnce;
  int m_successes = 0;
  int m_calls = 0;
  int m_failures = 0;
};

#endif  // VORN_TESTS_SUPPORT_FAULTPOINT_H
