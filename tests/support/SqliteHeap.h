// Makes what SQLite takes from the heap fail.

#ifndef VORN_TESTS_SUPPORT_SQLITEHEAP_H
#define VORN_TESTS_SUPPORT_SQLITEHEAP_H

#include "FaultPoint.h"

// A program that contains this runs SQLite without the memory that it keeps in
// hand for small things, so that every request can fail.
namespace sqlite_heap {

// Makes the request after the next `successes` fail.
void FailAfter(int successes, FaultPoint::Kind kind);
// Takes that back, if it still has to come. Answers how many have failed.
int FailNever();

}  // namespace sqlite_heap

#endif  // VORN_TESTS_SUPPORT_SQLITEHEAP_H
