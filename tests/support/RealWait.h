// In front of the C library's usleep: the library's waits for a busy file, as long as
// they are, but noticed. (Tests on the fakes do not wait at all.)

#ifndef VORN_TESTS_SUPPORT_REALWAIT_H
#define VORN_TESTS_SUPPORT_REALWAIT_H

#include <functional>

// What the calling thread does at the beginning of each wait.
void OnWait(std::function<void()> action);

#endif  // VORN_TESTS_SUPPORT_REALWAIT_H
