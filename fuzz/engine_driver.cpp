#include <cstddef>
#include <cstdint>

#include "fuzz_target.h"

// What an engine that invents inputs calls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tavo::fuzz::run({reinterpret_cast<const char*>(data), size});
    return 0;
}
