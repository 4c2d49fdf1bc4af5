#pragma once
// The entry points of a fuzz target, as libFuzzer calls them. Each target
// defines FuzzOneInput; a build with the fuzzing engine links libFuzzer's
// main, a normal build links ReplayMain, which feeds the files of a corpus to
// the same function once each (the regression test of every corpus).
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
