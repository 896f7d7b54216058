// vorndb: every operation of the library, on any database file, from the command line.

#include <exception>
#include <iostream>
#include <new>

#include "CommandLine.h"
#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"
#include "log/LogSink.h"

namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUse = 2 };

int Fail(const char* problem, ExitStatus status) {
  std::cout.flush();
  vorndb::Tell(problem);
  return status;
}

// What could not be written, to a full disk say, shows at the latest here.
void FinishOutput() {
  if (!std::cout.flush()) {
    throw vorndb::Failure("cannot write to standard output");
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const auto arguments = vorndb::ParseCommandLine(argc, argv);
    if (arguments) {
      vorndb::ShowLog(arguments->verbose);
      vorndb::Run(*arguments);
    }
    FinishOutput();
    return kDone;
  } catch (const vorndb::UsageError& error) {
    Fail(error.what(), kWrongUse);
    std::cerr << "For help: vorndb --help\n";
    return kWrongUse;
  } catch (const std::bad_alloc&) {
    return Fail("memory is exhausted", kFailed);
  } catch (const std::exception& error) {
    return Fail(error.what(), kFailed);
  }
}
