#include "host/mount/UnmountRequests.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <string>

namespace storage::tests {

namespace {

using host::UnmountRequests;
using host::UnmountStatus;
using Stage = UnmountStatus::Stage;

bool isReadable(int descriptor) {
    pollfd state{descriptor, POLLIN, 0};
    return ::poll(&state, 1, 0) == 1;
}

std::string textOf(const UnmountStatus& status) {
    return status.text.data();
}

TEST(UnmountRequestsTest, IsReadableFromTheRequestUntilAnAttemptBegins) {
    UnmountRequests requests;
    EXPECT_EQ(requests.status().stage, Stage::Mounted);
    EXPECT_FALSE(isReadable(requests.descriptor()));
    EXPECT_EQ(requests.start().attempt, 1U);
    EXPECT_TRUE(isReadable(requests.descriptor()));
    requests.begin();
    EXPECT_FALSE(isReadable(requests.descriptor()));
    EXPECT_EQ(requests.status().attempt, 1U);
    EXPECT_EQ(requests.status().stage, Stage::Saving);
}

TEST(UnmountRequestsTest, JoinsARunningAttempt) {
    UnmountRequests requests;
    requests.begin(); // by a signal
    requests.progress("half");
    const UnmountStatus status = requests.start();
    EXPECT_EQ(status.attempt, 1U);
    EXPECT_EQ(status.stage, Stage::Saving);
    EXPECT_EQ(textOf(status), "half");
    EXPECT_FALSE(isReadable(requests.descriptor()));
}

TEST(UnmountRequestsTest, StartsAnotherAttemptAfterAFailure) {
    UnmountRequests requests;
    requests.start();
    requests.begin();
    requests.fail("full");
    EXPECT_EQ(requests.status().stage, Stage::Failed);
    EXPECT_EQ(textOf(requests.status()), "full");
    const UnmountStatus again = requests.start();
    EXPECT_EQ(again.attempt, 2U);
    EXPECT_EQ(again.stage, Stage::Saving);
    EXPECT_EQ(textOf(again), "");
    EXPECT_TRUE(isReadable(requests.descriptor()));
}

TEST(UnmountRequestsTest, TruncatesALongText) {
    UnmountRequests requests;
    requests.begin();
    requests.fail(std::string(5000, 'x'));
    EXPECT_EQ(textOf(requests.status()), std::string(requests.status().text.size() - 1, 'x'));
}

} // namespace

} // namespace storage::tests
