#include "benchmarks/mount/MountedFolder.h"

#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/system/ProcessSeconds.h"
#include "benchmarks/system/StopSignal.h"
#include "benchmarks/workload/SystemCall.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

constexpr std::chrono::milliseconds longestEnd = std::chrono::seconds(20);

bool hasArgument(const std::filesystem::path& process, const std::string& argument) {
    std::ifstream file(process / "cmdline", std::ios_base::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return ('\0' + text).find('\0' + argument + '\0') != std::string::npos;
}

/// Finds the process of a server in the background by one of its arguments, the unique mount point.
pid_t findServer(const std::string& mountPoint) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        if (hasArgument(entry.path(), mountPoint)) {
            return static_cast<pid_t>(std::stol(entry.path().filename()));
        }
    }
    throw std::runtime_error("no process serves " + mountPoint);
}

/// Calls the system call directly, because glibc 2.36 declares pidfd_open() without C linkage for C++.
int openProcess(pid_t process) {
    return static_cast<int>(checked(::syscall(SYS_pidfd_open, process, 0), "pidfd_open"));
}

} // namespace

MountedFolder::MountedFolder(std::vector<std::string> command, std::filesystem::path mountPoint)
    : program_(command.front()), mountPoint_(std::move(mountPoint)) {
    command.push_back(mountPoint_);
    mount(command);
    try {
        server_ = findServer(mountPoint_);
        serverHandle_ = openProcess(server_);
    } catch (...) {
        unmount();
        throw;
    }
}

MountedFolder::~MountedFolder() {
    unmount();
    awaitServer();
    ::close(serverHandle_);
}

double MountedFolder::serverSeconds() const {
    return processSeconds(server_);
}

void MountedFolder::mount(const std::vector<std::string>& command) {
    try {
        ChildProcess::runSuccessfully(command);
    } catch (const Interrupted&) {
        unmount();
        throw;
    }
}

void MountedFolder::unmount() noexcept {
    try {
        if (!ChildProcess::run({"fusermount3", "-q", "-u", mountPoint_}).succeeded) {
            std::cerr << program_ << ": its mount is still in use\n";
            ChildProcess::run({"fusermount3", "-q", "-u", "-z", mountPoint_});
        }
    } catch (const Interrupted&) { // the command has run
    } catch (const std::exception& error) {
        std::cerr << program_ << ": " << error.what() << '\n';
    }
}

void MountedFolder::awaitServer() noexcept {
    pollfd end{serverHandle_, POLLIN, 0};
    if (::poll(&end, 1, static_cast<int>(longestEnd.count())) != 1) {
        std::cerr << program_ << ": goes on without its mount, and is killed\n";
        ::syscall(SYS_pidfd_send_signal, serverHandle_, SIGKILL, nullptr, 0);
    }
}

} // namespace storage::benchmark
