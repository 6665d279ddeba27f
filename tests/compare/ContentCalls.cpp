#include "tests/compare/CallKind.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace syscalls {

namespace {

constexpr std::int64_t mappedPage = 4096;

/// Bytes derived from a number.
std::string payload(std::int64_t number, std::int64_t length) {
    std::string bytes(static_cast<std::size_t>(length), '\0');
    auto state = static_cast<std::uint32_t>(number);
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

/// Splits a buffer into two vectors.
std::array<iovec, 2> vectorsOf(std::string& bytes) {
    const std::size_t middle = bytes.size() / 3;
    return {iovec{bytes.data(), middle}, iovec{bytes.data() + middle, bytes.size() - middle}};
}

void chooseTransfer(Choice& choice, Call& call) {
    call.numbers = {choice.fileSlot(), choice.length(), choice.offset(), choice.below(1000)};
}

template <typename Read>
void readWith(const Call& call, OutcomeBuilder& outcome, Read read) {
    std::string bytes(static_cast<std::size_t>(call.numbers[1]), '?');
    const ssize_t count = read(bytes);
    if (outcome.result(count)) {
        outcome.addBytes("bytes", std::string_view(bytes).substr(0, static_cast<std::size_t>(count)));
    }
}

template <typename Write>
void writeWith(const Call& call, OutcomeBuilder& outcome, Write write) {
    std::string bytes = payload(call.numbers[3], call.numbers[1]);
    outcome.result(write(bytes));
}

void read(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    readWith(call, outcome, [&](std::string& bytes) {
        return ::read(process.descriptor(call.numbers[0]), bytes.data(), bytes.size());
    });
}

void readAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    readWith(call, outcome, [&](std::string& bytes) {
        return ::pread(process.descriptor(call.numbers[0]), bytes.data(), bytes.size(), call.numbers[2]);
    });
}

void readVector(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    readWith(call, outcome, [&](std::string& bytes) {
        return ::readv(process.descriptor(call.numbers[0]), vectorsOf(bytes).data(), 2);
    });
}

void readVectorAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    readWith(call, outcome, [&](std::string& bytes) {
        return ::preadv(process.descriptor(call.numbers[0]), vectorsOf(bytes).data(), 2, call.numbers[2]);
    });
}

void write(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    writeWith(call, outcome, [&](const std::string& bytes) {
        return ::write(process.descriptor(call.numbers[0]), bytes.data(), bytes.size());
    });
}

void writeAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    writeWith(call, outcome, [&](const std::string& bytes) {
        return ::pwrite(process.descriptor(call.numbers[0]), bytes.data(), bytes.size(), call.numbers[2]);
    });
}

void writeVector(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    writeWith(call, outcome, [&](std::string& bytes) {
        return ::writev(process.descriptor(call.numbers[0]), vectorsOf(bytes).data(), 2);
    });
}

void writeVectorAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    writeWith(call, outcome, [&](std::string& bytes) {
        return ::pwritev2(process.descriptor(call.numbers[0]), vectorsOf(bytes).data(), 2, call.numbers[2],
                          static_cast<int>(call.numbers[4]));
    });
}

/// Whether a call copies within one file. Such calls are excluded, because the copy may overwrite pages
/// before they are copied.
bool isSameFile(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct stat from {};
    struct stat to {};
    const bool isSame = ::fstat(process.descriptor(call.numbers[0]), &from) == 0 &&
                        ::fstat(process.descriptor(call.numbers[3]), &to) == 0 && from.st_ino == to.st_ino;
    if (isSame) {
        outcome.add("result", notMade);
    }
    return isSame;
}

void copyRange(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    off_t from = call.numbers[2];
    off_t to = call.numbers[4];
    outcome.result(::copy_file_range(process.descriptor(call.numbers[0]), &from,
                                     process.descriptor(call.numbers[3]), &to,
                                     static_cast<std::size_t>(call.numbers[1]), 0));
    outcome.add("from", std::to_string(from));
    outcome.add("to", std::to_string(to));
}

void sendFile(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    if (isSameFile(process, call, outcome)) {
        return;
    }
    off_t from = call.numbers[2];
    outcome.result(::sendfile(process.descriptor(call.numbers[3]), process.descriptor(call.numbers[0]), &from,
                              static_cast<std::size_t>(call.numbers[1])));
    outcome.add("from", std::to_string(from));
}

/// Copies through a pipe, at most the capacity of the pipe.
void spliceFile(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    if (isSameFile(process, call, outcome)) {
        return;
    }
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        outcome.result(-1);
        return;
    }
    loff_t from = call.numbers[2];
    loff_t to = call.numbers[4];
    const ssize_t count = ::splice(process.descriptor(call.numbers[0]), &from, pipe[1], nullptr,
                                   static_cast<std::size_t>(call.numbers[1]), SPLICE_F_NONBLOCK);
    outcome.result(count);
    if (count > 0) {
        const ssize_t written = ::splice(pipe[0], nullptr, process.descriptor(call.numbers[3]), &to,
                                         static_cast<std::size_t>(count), SPLICE_F_NONBLOCK);
        outcome.add("written", written < 0 ? ::strerrorname_np(errno) : std::to_string(written));
    }
    ::close(pipe[0]);
    ::close(pipe[1]);
}

void chooseCopy(Choice& choice, Call& call) {
    call.numbers = {choice.fileSlot(), choice.length(), choice.offset(), choice.fileSlot(), choice.offset()};
}

/// Maps whole pages within a file. If that fails, the outcome has the reason.
class Mapping {
public:
    Mapping(int descriptor, const Call& call, int protection, OutcomeBuilder& outcome) {
        struct stat status {};
        const std::int64_t offset = call.numbers[2] & ~(mappedPage - 1);
        if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || offset < 0 ||
            offset >= status.st_size) {
            outcome.add("result", notMade);
            return;
        }
        size_ = static_cast<std::size_t>(std::min(call.numbers[1] + 1, status.st_size - offset));
        bytes_ = ::mmap(nullptr, size_, protection, MAP_SHARED, descriptor, offset);
        outcome.result(isMapped() ? 0 : -1);
    }
    ~Mapping() {
        if (isMapped()) {
            ::munmap(bytes_, size_);
        }
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    bool isMapped() const { return bytes_ != MAP_FAILED; }
    char* data() const { return static_cast<char*>(bytes_); }
    std::size_t size() const { return size_; }

private:
    void* bytes_ = MAP_FAILED;
    std::size_t size_ = 0;
};

/// Whether a range has a hole. Reading a hole through a mapping allocates it on a tmpfs.
bool hasHole(int descriptor, std::int64_t offset, std::int64_t length) {
    const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
    const off_t hole = ::lseek(descriptor, offset, SEEK_HOLE);
    ::lseek(descriptor, position, SEEK_SET);
    return hole < 0 || hole < offset + length;
}

void readMapping(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = process.descriptor(call.numbers[0]);
    const Mapping mapping(descriptor, call, PROT_READ, outcome);
    if (!mapping.isMapped()) {
        return;
    }
    const std::int64_t offset = call.numbers[2] & ~(mappedPage - 1);
    if (hasHole(descriptor, offset, static_cast<std::int64_t>(mapping.size()))) {
        outcome.add("bytes", "a hole");
        return;
    }
    outcome.addBytes("bytes", {mapping.data(), mapping.size()});
}

/// A tmpfs does not update the timestamps of a file that changes through a mapping, so this also writes a
/// byte.
void writeMapping(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = process.descriptor(call.numbers[0]);
    const Mapping mapping(descriptor, call, PROT_READ | PROT_WRITE, outcome);
    if (!mapping.isMapped()) {
        return;
    }
    const std::string bytes = payload(call.numbers[3], static_cast<std::int64_t>(mapping.size()));
    std::ranges::copy(bytes, mapping.data());
    outcome.result(::msync(mapping.data(), mapping.size(), call.numbers[4] != 0 ? MS_SYNC : MS_ASYNC));
    const std::int64_t offset = call.numbers[2] & ~(mappedPage - 1);
    outcome.add("written", std::to_string(::pwrite(descriptor, bytes.data(), 1, offset)));
}

constexpr auto chooseSlot = [](Choice& choice, Call& call) { call.numbers[0] = choice.fileSlot(); };

constexpr std::array contentKinds{
    CallKind{"read", 12, chooseTransfer, read},
    CallKind{"pread", 16, chooseTransfer, readAt},
    CallKind{"readv", 4, chooseTransfer, readVector},
    CallKind{"preadv", 4, chooseTransfer, readVectorAt},
    CallKind{"write", 14, chooseTransfer, write},
    CallKind{"pwrite", 20, chooseTransfer, writeAt},
    CallKind{"writev", 4, chooseTransfer, writeVector},
    CallKind{"pwritev2", 5,
             [](Choice& choice, Call& call) {
                 chooseTransfer(choice, call);
                 call.numbers[4] = choice.of({0, 0, RWF_APPEND, RWF_SYNC, RWF_DSYNC});
             },
             writeVectorAt},
    CallKind{"copy_file_range", 6, chooseCopy, copyRange},
    CallKind{"sendfile", 4, chooseCopy, sendFile},
    CallKind{"splice", 4, chooseCopy, spliceFile},
    CallKind{"mmap_read", 6, chooseTransfer, readMapping},
    CallKind{"mmap_write", 6,
             [](Choice& choice, Call& call) {
                 chooseTransfer(choice, call);
                 call.numbers[4] = choice.below(2);
             },
             writeMapping},
    CallKind{"fsync", 3, chooseSlot,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::fsync(process.descriptor(call.numbers[0])));
             }},
    CallKind{"fdatasync", 2, chooseSlot,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::fdatasync(process.descriptor(call.numbers[0])));
             }},
    CallKind{"syncfs", 1, chooseSlot,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::syncfs(process.descriptor(call.numbers[0])));
             }},
    CallKind{"sync_file_range", 2, chooseTransfer,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::sync_file_range(process.descriptor(call.numbers[0]), call.numbers[2],
                                                  call.numbers[1], SYNC_FILE_RANGE_WRITE));
             }},
    CallKind{
        "posix_fadvise", 2,
        [](Choice& choice, Call& call) {
            chooseTransfer(choice, call);
            call.numbers[4] = choice.of({POSIX_FADV_DONTNEED, POSIX_FADV_WILLNEED, POSIX_FADV_RANDOM, 99});
        },
        [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
            outcome.result(::posix_fadvise(process.descriptor(call.numbers[0]), call.numbers[2],
                                           call.numbers[1], static_cast<int>(call.numbers[4])));
        }},
    CallKind{"readahead", 1, chooseTransfer,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::readahead(process.descriptor(call.numbers[0]), call.numbers[2],
                                            static_cast<std::size_t>(call.numbers[1])));
             }},
};

} // namespace

std::span<const CallKind> contentCalls() {
    return contentKinds;
}

} // namespace syscalls
