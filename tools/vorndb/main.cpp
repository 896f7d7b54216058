// vorndb: every operation of the library, on any database file, from the command line.

#include <exception>
#include <iostream>
#include <new>

#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"

int main(int argc, char** argv) {
  try {
    const int status = vorndb::RunCommandLine(argc, argv);
    // A full disk shows here at the latest.
    vorndb::FailIf(!std::cout.flush(), "cannot write to standard output");
    return status;
  } catch (const std::bad_alloc&) {
    vorndb::PrintMessage("memory is exhausted");
  } catch (const std::exception& error) {
    vorndb::PrintMessage(error.what());
  }
  return vorndb::kFailed;
}
