// Counts the points at which the sweeps have failed something; the program prints
// the table when it ends.

#ifndef VORN_TESTS_FAULT_POINTS_H
#define VORN_TESTS_FAULT_POINTS_H

#include <string>

namespace points {

// So many points of one subject, such as "Upsert", in one kind of sweep.
void Add(const std::string& subject, const std::string& kind, int count);

}  // namespace points

#endif  // VORN_TESTS_FAULT_POINTS_H
