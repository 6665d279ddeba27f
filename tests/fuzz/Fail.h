#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

/// Prints the reason and aborts, so that the fuzzer saves the input.
[[noreturn]] inline void fail(std::string_view what) {
    std::cerr << "the input shows a bug: " << what << std::endl;
    std::abort();
}
