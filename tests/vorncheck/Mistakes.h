// An application that makes one mistake of those that vorncheck finds, or none.

#ifndef VORN_TESTS_VORNCHECK_MISTAKES_H
#define VORN_TESTS_VORNCHECK_MISTAKES_H

// Arguments: the mistake, and a folder that is empty. Returns the exit status.
extern "C" int RunMistake(int count, char** arguments);

#endif  // VORN_TESTS_VORNCHECK_MISTAKES_H
