// Counts the points at which a program's tests have failed something; it prints the
// table when it ends.

#ifndef VORN_TESTS_SUPPORT_POINTS_H
#define VORN_TESTS_SUPPORT_POINTS_H

#include <string>

namespace points {

// So many points of one subject, such as "Upsert", and one kind of failure.
void Add(const std::string& subject, const std::string& kind, int count = 1);

}  // namespace points

#endif  // VORN_TESTS_SUPPORT_POINTS_H
