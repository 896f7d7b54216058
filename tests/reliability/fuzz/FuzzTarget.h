// What libFuzzer asks of a fuzz target, and what it finds in the one at hand.

#ifndef VORN_TESTS_RELIABILITY_FUZZ_FUZZTARGET_H
#define VORN_TESTS_RELIABILITY_FUZZ_FUZZTARGET_H

#include <cstddef>
#include <cstdint>

// Called once, before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

// Called with every input. Where the library does not do as expected it crashes,
// after GoogleTest's message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // VORN_TESTS_RELIABILITY_FUZZ_FUZZTARGET_H
