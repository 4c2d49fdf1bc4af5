#pragma once
// What the fuzz targets share: a quiet library with a small memory budget and
// a running network, set up once per process.
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

// Silences the log, caps lattices and point files at 256 kB (an input
// may ask for any size; the budget is what refuses it) and starts the network.
void InitLibrary();
// Runs one pass over the network and waits for it.
void RunPass();
// Empties the network.
void ClearNetwork();
inline std::string Text(const uint8_t* data, size_t size) { return std::string(reinterpret_cast<const char*>(data), size); }

} // namespace fuzz
