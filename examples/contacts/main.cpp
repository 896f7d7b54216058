// A telephone book on the command line, in the directory where it is run.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "ContactBook.h"

namespace {

constexpr char kUsage[] =
    "usage: contacts list\n"
    "       contacts add NAME NUMBER\n"
    "       contacts remove NAME\n";

int Run(const std::vector<std::string>& arguments) {
  const std::string command = arguments.empty() ? "" : arguments[0];
  if (command == "list" && arguments.size() == 1) {
    for (const Contact& contact : ContactBook(".").List()) {
      std::cout << contact.name << ": " << contact.phone << '\n';
    }
  } else if (command == "add" && arguments.size() == 3) {
    ContactBook(".").Write({arguments[1], arguments[2]});
  } else if (command == "remove" && arguments.size() == 2) {
    ContactBook(".").Remove(arguments[1]);
  } else {
    std::cerr << kUsage;
    return 2;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& error) {
    // Also what the library lets pass, std::bad_alloc for example.
    std::cerr << "contacts: " << error.what() << '\n';
    return 1;
  }
}
