#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

/// Says what is wrong and ends the program, so that the fuzzer keeps the input.
[[noreturn]] inline void fail(std::string_view what) {
    std::cerr << "the input shows a fault: " << what << std::endl;
    std::abort();
}
