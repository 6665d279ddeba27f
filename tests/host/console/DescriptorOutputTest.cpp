#include "host/console/DescriptorOutput.h"
#include "host/disk/FileDescriptor.h"
#include "host/support/Interruption.h"
#include "tests/support/DefaultSignals.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ostream>
#include <pthread.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace storage::tests {

namespace {

using namespace host;

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

TEST(DescriptorOutputTest, ReportsTheErrorOfAWrite) {
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

TEST(DescriptorOutputTest, ReportsTheErrorInALongOutput) {
    const FileDescriptor full("/dev/full", O_WRONLY);
    DescriptorOutput buffer(full.number());
    std::ostream out(&buffer);
    out.exceptions(std::ios_base::badbit);
    EXPECT_THROW(out << std::string(1 << 20, 'x'), OutputError);
}

TEST(DescriptorOutputTest, InterruptsABlockedWrite) {
    const DefaultSignals defaultSignals;
    const Interruption interruption;
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pthread_t writer = ::pthread_self();
    std::atomic<bool> ended = false;
    // Repeated, because a signal before the wait does not end the wait.
    std::thread user([&] {
        while (!ended) {
            ::pthread_kill(writer, SIGINT);
            std::this_thread::yield();
        }
    });
    DescriptorOutput buffer(ends[1]);
    std::ostream out(&buffer);
    out.exceptions(std::ios_base::badbit);
    EXPECT_THROW(
        {
            for (int i = 0; i < 1000; ++i) {
                out << std::string(1000, 'x');
            }
        },
        Interrupted);
    ended = true;
    user.join();
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace

} // namespace storage::tests
