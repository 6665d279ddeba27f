#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/BadDiskTest.h"
#include "tests/support/TreeContents.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;
using testing::MatchesRegex;

/// Stops each command at each of its calls to the provider, by a signal or a failure.
class BadDiskInterruptionTest : public BadDiskTest {
protected:
    struct State {
        TreeContents storage;
        TreeContents disk;
        bool operator==(const State&) const = default;
    };

    /// Creates the files that the commands of a sweep use.
    void prepareSweep() {
        restore();
        disk_.write("src/a", "whole");
        disk_.write("src/big", std::string(300000, 'x'));
        disk_.write("src/s/g", "two");
        succeed("export /a " + disk_ / "same");
    }

    /// Restores storage and disk to the initial state of every command.
    void restore() {
        resetHooks();
        succeed("cd /");
        succeed("rm -rf /*");
        succeed("mkdir -p /a/s /d");
        succeed("write /a/f one");
        succeed("truncate -s 300K /a/big");
        succeed("write /a/s/g two");
        fs::remove_all(disk_ / "out");
        disk_.write("out/a/f", "old content");
    }

    State state() { return {contentsOf(takeSnapshot(*provider_)), contentsOf(disk_.path())}; }

    /// Checks that every file is in its old state, or in its state after the complete command. Entries that
    /// the complete command keeps must exist.
    static void expectNothingHalfDone(const TreeContents& now, const TreeContents& before,
                                      const TreeContents& after) {
        const auto holds = [](const TreeContents& tree, const TreeContents::value_type& entry) {
            const auto found = tree.find(entry.first);
            return found != tree.end() && found->second == entry.second;
        };
        for (const auto& entry : now) {
            EXPECT_TRUE(holds(before, entry) || holds(after, entry))
                << entry.first << " is in neither its old nor its new state";
        }
        for (const auto& [path, bytes] : before) {
            EXPECT_TRUE(now.contains(path) || !after.contains(path)) << path << " is lost";
        }
    }

    /// Runs the command once for each of its provider calls, and calls `strike` before that call.
    /// @return the number of provider calls
    template <typename Check>
    int sweep(const std::string& command, const std::function<void()>& strike, const Check& check) {
        restore();
        const State before = state();
        succeed(command);
        const State after = state();
        for (int point = 1;; ++point) {
            SCOPED_TRACE(command + ", at provider call " + std::to_string(point));
            restore();
            int calls = 0;
            provider_->before = [&](const char*, const StorageIRI&) {
                if (++calls == point) {
                    strike();
                }
            };
            const ExitStatus status = run(command);
            resetHooks();
            if (calls < point) {
                EXPECT_EQ(status, ExitStatus::Success);
                return point - 1;
            }
            const std::string messages = errors();
            const State now = state();
            expectNothingHalfDone(now.storage, before.storage, after.storage);
            expectNothingHalfDone(now.disk, before.disk, after.disk);
            if (command.starts_with("mv")) {
                EXPECT_TRUE(now == before || now == after) << "a move is atomic";
            }
            check(status, messages, now == after);
        }
    }

    std::vector<std::string> commands() const {
        return {"import " + disk_ / "src" + " /n",
                "import " + disk_ / "src/big" + " " + disk_ / "src/a" + " /d",
                "import " + disk_ / "src/big" + " " + disk_ / "src/s" + " /a",
                "export /a " + disk_ / "out",
                "export / " + disk_ / "all",
                "check /a " + disk_ / "same",
                "cat /a/f /a/big /a/s/g",
                "find / -name '*'",
                "rm -r /a",
                "rm -rf /a /d",
                "cp -r /a /d",
                "cp /a/f /a/big /d",
                "mv /a /m",
                "mv /a/big /d",
                "tree",
                "du",
                "ls -lR"};
    }
};

TEST_F(BadDiskInterruptionTest, LeavesNothingHalfDoneAfterASignal) {
    prepareSweep();
    int points = 0;
    int stopped = 0;
    for (const std::string& command : commands()) {
        const std::string name = command.substr(0, command.find(' '));
        const int stoppedBefore = stopped;
        points += sweep(
            command, [] { std::raise(SIGINT); },
            [&](ExitStatus status, const std::string& messages, bool complete) {
                if (status == ExitStatus::Success) {
                    EXPECT_TRUE(complete);
                    EXPECT_EQ(messages, "");
                    return;
                }
                ++stopped;
                EXPECT_EQ(status, ExitStatus::Interrupted);
                EXPECT_EQ(messages, line(name + ": interrupted"));
            });
        EXPECT_GT(stopped, stoppedBefore) << command << " cannot be stopped";
        fs::remove_all(disk_ / "all");
    }
    std::cout << "signals: " << points << " points, " << stopped << " commands stopped, " << points - stopped
              << " had nothing left to do\n";
}

TEST_F(BadDiskInterruptionTest, StopsALongFileAtTheNextBlockAfterASignal) {
    prepareSweep();
    for (const std::string& command :
         {"import " + disk_ / "src/big" + " /d", "export /a/big " + disk_ / "out",
          "check /a/big " + disk_ / "same/big", std::string("cat /a/big"), std::string("cp /a/big /d")}) {
        SCOPED_TRACE(command);
        restore();
        succeed("truncate -s 3M /a/big");
        fs::resize_file(disk_ / "src/big", 3 * mebibyte);
        fs::resize_file(disk_ / "same/big", 3 * mebibyte);
        int blocks = 0;
        provider_->before = [&](const std::string& operation, const StorageIRI&) {
            if ((operation == "read" || operation == "write") && ++blocks == 1) {
                std::raise(SIGINT);
            }
        };
        EXPECT_EQ(run(command), ExitStatus::Interrupted);
        EXPECT_LE(blocks, 2) << "blocks read or written";
        resetHooks();
    }
}

TEST_F(BadDiskInterruptionTest, LeavesNothingHalfDoneAfterAFailure) {
    prepareSweep();
    int points = 0;
    for (const std::string& command : commands()) {
        const std::string name = command.substr(0, command.find(' '));
        points += sweep(
            command, [] { throw std::runtime_error("torn"); },
            [&](ExitStatus status, const std::string& messages, bool) {
                EXPECT_EQ(status, ExitStatus::Failure);
                EXPECT_THAT(messages, MatchesRegex("qzstorage: " + name + ": [/.][^\n]*: torn\n"));
            });
        fs::remove_all(disk_ / "all");
    }
    std::cout << "failures: " << points << " points\n";
}

} // namespace

} // namespace storage::tests
