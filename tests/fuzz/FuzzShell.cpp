// Runs the input as a script of the host program. A script that begins with a comment is run as on a
// terminal.

#include "tests/fuzz/PrintedCount.h"
#include "tests/fuzz/ScriptRun.h"

#include <csignal>
#include <cstdint>

using storage::host::Interruption;
using storage::host::OutputKind;

namespace {

/// Constructed while the signals are ignored, so that it does not replace the fuzzer's handlers.
Interruption& interruption() {
    static Interruption result;
    return result;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_IGN);
    }
    interruption();
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_DFL);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static PrintedCount count("command lines run");
    const std::string script(data, data + size);
    const bool onTerminal = script.starts_with('#');
    ScriptRun run(interruption(), onTerminal ? OutputKind::Terminal : OutputKind::Plain);
    count.add(run.run(script));
    return 0;
}
