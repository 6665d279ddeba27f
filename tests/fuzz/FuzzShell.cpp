// Runs the input as a script of the host program. A script that begins with a comment is run as on a
// terminal.

#include "tests/fuzz/PrintedCount.h"
#include "tests/fuzz/ScriptRun.h"

#include <cstdint>

using storage::host::OutputKind;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static PrintedCount count("command lines run");
    const std::string script(data, data + size);
    const bool onTerminal = script.starts_with('#');
    ScriptRun run(onTerminal ? OutputKind::Terminal : OutputKind::Plain);
    count.add(run.run(script));
    return 0;
}
