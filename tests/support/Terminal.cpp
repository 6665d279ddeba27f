#include "tests/support/Terminal.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>

Terminal::Terminal() : keyboard_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    std::array<char, 128> path{};
    if (keyboard_ >= 0 && ::grantpt(keyboard_) == 0 && ::unlockpt(keyboard_) == 0 &&
        ::ptsname_r(keyboard_, path.data(), path.size()) == 0) {
        path_ = path.data();
    }
}

Terminal::~Terminal() {
    hangUp();
}

void Terminal::connect() const {
    const int screen = ::open(path_.c_str(), O_RDWR | O_NOCTTY);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(screen, descriptor);
    }
    ::close(screen);
}

void Terminal::type(const std::string& keys) const {
    EXPECT_EQ(::write(keyboard_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void Terminal::waitFor(Mode mode) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    const auto isThere = [&] {
        termios settings{};
        return ::tcgetattr(keyboard_, &settings) == 0 &&
               ((settings.c_lflag & ICANON) != 0) == (mode == Mode::Lines);
    };
    while (!isThere() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(isThere()) << "the program has not set the terminal mode";
}

std::string Terminal::readUntil(const std::string& text) {
    constexpr int minute = 60'000; // milliseconds
    for (;;) {
        if (const std::size_t found = unread_.find(text); found != std::string::npos) {
            const std::string rest = unread_.substr(found + text.size());
            std::string read = std::exchange(unread_, rest);
            read.resize(found + text.size());
            return read;
        }
        std::array<char, 4096> buffer{};
        pollfd screen{keyboard_, POLLIN, 0};
        const ssize_t count =
            ::poll(&screen, 1, minute) == 1 ? ::read(keyboard_, buffer.data(), buffer.size()) : -1;
        if (count <= 0) {
            ADD_FAILURE() << "'" << text << "' was not printed; output: '" << unread_ << "'";
            return std::exchange(unread_, "");
        }
        unread_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void Terminal::hangUp() {
    if (keyboard_ >= 0) {
        ::close(std::exchange(keyboard_, -1));
    }
}
