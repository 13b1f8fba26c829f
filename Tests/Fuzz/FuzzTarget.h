#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

/// What a fuzz target does with one input: any bytes whatever. Ends the process when something is wrong.
///
/// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the process, with @p what as its last words, unless @p holds.
inline void require(bool holds, const std::string& what)
{
    if (!holds)
    {
        std::cerr << "WRONG: " << what << std::endl;
        std::abort();
    }
}

/// Ends the process unless the two are the same.
inline void requireSame(const std::string& is, const std::string& shouldBe, const std::string& what)
{
    require(is == shouldBe, what + "\n--- is\n" + is + "\n--- should be\n" + shouldBe);
}
