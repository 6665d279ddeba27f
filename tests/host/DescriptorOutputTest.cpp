#include "host/DescriptorOutput.h"
#include "host/FileDescriptor.h"
#include "host/OutputError.h"
#include "tests/host/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ostream>

namespace {

using namespace storage::host;

TEST(DescriptorOutputTest, WritesAllBytesInOrder) {
    const TemporaryFolder folder;
    std::string expected;
    {
        const FileDescriptor file(folder / "out", O_WRONLY | O_CREAT, 0600);
        DescriptorOutput buffer(file.number());
        std::ostream out(&buffer);
        for (int i = 0; i < 50000; ++i) {
            out << i << '\n';
            expected += std::to_string(i) + '\n';
        }
        out.flush();
    }
    EXPECT_EQ(readFile(folder / "out"), expected);
}

TEST(DescriptorOutputTest, SaysWhyAWriteFailed) {
    const FileDescriptor full("/dev/full", O_WRONLY);
    DescriptorOutput buffer(full.number());
    std::ostream out(&buffer);
    out.exceptions(std::ios_base::badbit);
    out << "text";
    try {
        out.flush();
        FAIL() << "nothing was thrown";
    } catch (const OutputError& error) {
        EXPECT_EQ(error.code().value(), ENOSPC);
    }
}

TEST(DescriptorOutputTest, SaysWhyAWriteFailedInTheMiddleOfALongOutputToo) {
    const FileDescriptor full("/dev/full", O_WRONLY);
    DescriptorOutput buffer(full.number());
    std::ostream out(&buffer);
    out.exceptions(std::ios_base::badbit);
    EXPECT_THROW(out << std::string(1 << 20, 'x'), OutputError);
}

} // namespace
