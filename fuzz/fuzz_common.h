// The fuzz harnesses' shared contract. Each harness file defines the two libFuzzer entry
// points and fuzz_seeds(), the inputs its seed corpus starts from. Built with clang's
// libFuzzer for fuzzing runs (scripts/fuzz), or with replay_main.cpp as a plain program
// that feeds the seeds and the kept regression inputs once (part of the test suite).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using FuzzInput = std::vector<unsigned char>;

// Named inputs that a fresh corpus starts from.
struct FuzzSeed {
  std::string name;
  FuzzInput bytes;
};
std::vector<FuzzSeed> fuzz_seeds();

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Gives the process a fresh temporary HOME and XDG folders (never the user's own), then
// starts the toolkit; aborts when there is no display. Returns the temporary folder.
const std::string &fuzz_start(int *argc, char ***argv);

// Aborts with a message naming the broken invariant when `holds` is false, so that the
// fuzzer keeps the input that broke it.
void fuzz_require(bool holds, const char *invariant);

// Text helpers for building seeds.
FuzzInput fuzz_bytes(const std::string &text);
