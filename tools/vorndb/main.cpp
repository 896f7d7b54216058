// vorndb: every operation of the library, on any database file, from the command line.

#include <exception>
#include <iostream>
#include <new>

#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"

namespace {

enum ExitStatus { kFailed = 1, kWrongUse = 2 };

int Fail(const char* problem, ExitStatus status) {
  std::cout.flush();
  vorndb::Tell(problem);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int status = vorndb::RunCommandLine(argc, argv);
    // A full disk shows here at the latest.
    vorndb::FailIf(!std::cout.flush(), "cannot write to standard output");
    return status;
  } catch (const vorndb::UsageError& error) {
    const int status = Fail(error.what(), kWrongUse);
    std::cerr << "For help: vorndb help" + (error.command.empty() ? "" : ' ' + error.command) +
                     '\n';
    return status;
  } catch (const std::bad_alloc&) {
    return Fail("memory is exhausted", kFailed);
  } catch (const std::exception& error) {
    return Fail(error.what(), kFailed);
  }
}
