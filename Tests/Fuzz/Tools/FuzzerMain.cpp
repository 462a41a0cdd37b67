#include <cstddef>
#include <cstdint>

#include "FuzzTargets.h"

/// What the fuzzer calls; FUZZ_ENTRY is one of the functions of FuzzTargets.h.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavrin::fuzz::FUZZ_ENTRY({reinterpret_cast<const char*>(data), size});
    return 0;
}
