#include "host/console/ProgressMeter.h"

#include <gtest/gtest.h>
#include <sstream>

namespace storage::tests {

namespace {

using namespace host;

TEST(ProgressMeterTest, ShowsNothingUnlessErrorsGoToATerminal) {
    std::ostringstream out;
    std::ostringstream err;
    Console console(out, OutputKind::Terminal, err, OutputKind::Plain);
    {
        ProgressMeter meter(console);
        for (int i = 0; i < 1000; ++i) {
            meter.countEntry();
            meter.countBytes(1 << 20);
        }
    }
    EXPECT_EQ(out.str() + err.str(), "");
}

TEST(ConsoleProgressTest, ErasesTheProgressLineBeforeFailuresAndAtTheEnd) {
    std::ostringstream out;
    std::ostringstream err;
    Console console(out, OutputKind::Terminal, err, OutputKind::Terminal);
    console.beginCommand("import");
    {
        const ProgressMeter meter(console);
        console.drawProgress("12 entries");
        console.report({"/a", "gone"});
        console.drawProgress("13 entries");
    }
    EXPECT_EQ(err.str(), "\r\033[K12 entries\r\033[Kqzstorage: import: /a: gone\n\r\033[K13 entries\r\033[K");
}

} // namespace

} // namespace storage::tests
