#include "tests/compare/CallKind.h"

#include "tests/compare/ExtendedNames.h"

#include <array>
#include <sys/xattr.h>

namespace syscalls {

namespace {

void chooseOnPath(Choice& choice, Call& call) {
    call.first = choice.path();
    call.second = choice.extendedName();
}

void chooseOnDescriptor(Choice& choice, Call& call) {
    call.numbers[0] = choice.slot();
    call.second = choice.extendedName();
}

void chooseValue(Choice& choice, Call& call) {
    call.numbers[1] =
        choice.oneIn(20) ? choice.of({65536, 65537, 30000}) : choice.of({0, 1, 5, 20, 100, 1000, 4096});
    call.numbers[2] = choice.of({0, 0, 0, XATTR_CREATE, XATTR_REPLACE, XATTR_CREATE | XATTR_REPLACE, 64});
    call.numbers[3] = choice.below(26);
}

template <void (*where)(Choice&, Call&)>
void chooseSetting(Choice& choice, Call& call) {
    where(choice, call);
    chooseValue(choice, call);
}

template <void (*where)(Choice&, Call&)>
void chooseGetting(Choice& choice, Call& call) {
    where(choice, call);
    call.numbers[1] = choice.of({70'000, 70'000, 0, 3, 100});
}

std::string valueOf(const Call& call) {
    return std::string(static_cast<std::size_t>(call.numbers[1]), static_cast<char>('a' + call.numbers[3]));
}

int flagsOf(const Call& call) {
    return static_cast<int>(call.numbers[2]);
}

template <int (*set)(const char*, const char*, const void*, size_t, int) noexcept>
void setOnPath(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    const std::string value = valueOf(call);
    outcome.result(set(call.first.c_str(), call.second.c_str(), value.data(), value.size(), flagsOf(call)));
}

void setOnDescriptor(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const std::string value = valueOf(call);
    outcome.result(::fsetxattr(process.descriptor(call.numbers[0]), call.second.c_str(), value.data(),
                               value.size(), flagsOf(call)));
}

void addValue(ssize_t size, const std::string& value, OutcomeBuilder& outcome) {
    if (outcome.result(size) && !value.empty()) {
        outcome.addBytes("value", std::string_view(value).substr(0, static_cast<std::size_t>(size)));
    }
}

template <ssize_t (*get)(const char*, const char*, void*, size_t) noexcept>
void getOnPath(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    std::string value(static_cast<std::size_t>(call.numbers[1]), '\0');
    addValue(get(call.first.c_str(), call.second.c_str(), value.data(), value.size()), value, outcome);
}

void getOnDescriptor(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    std::string value(static_cast<std::size_t>(call.numbers[1]), '\0');
    addValue(
        ::fgetxattr(process.descriptor(call.numbers[0]), call.second.c_str(), value.data(), value.size()),
        value, outcome);
}

void addNames(ssize_t size, const std::string& names, OutcomeBuilder& outcome) {
    if (outcome.result(size) && !names.empty()) {
        outcome.add("names", sortedNames(std::string_view(names).substr(0, static_cast<std::size_t>(size))));
    }
}

template <ssize_t (*list)(const char*, char*, size_t) noexcept>
void listOnPath(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    std::string names(static_cast<std::size_t>(call.numbers[1]), '\0');
    addNames(list(call.first.c_str(), names.data(), names.size()), names, outcome);
}

void listOnDescriptor(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    std::string names(static_cast<std::size_t>(call.numbers[1]), '\0');
    addNames(::flistxattr(process.descriptor(call.numbers[0]), names.data(), names.size()), names, outcome);
}

template <int (*remove)(const char*, const char*) noexcept>
void removeOnPath(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(remove(call.first.c_str(), call.second.c_str()));
}

void removeOnDescriptor(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::fremovexattr(process.descriptor(call.numbers[0]), call.second.c_str()));
}

constexpr std::array extendedKinds{
    CallKind{"setxattr", 8, chooseSetting<chooseOnPath>, setOnPath<::setxattr>},
    CallKind{"lsetxattr", 3, chooseSetting<chooseOnPath>, setOnPath<::lsetxattr>},
    CallKind{"fsetxattr", 4, chooseSetting<chooseOnDescriptor>, setOnDescriptor},
    CallKind{"getxattr", 5, chooseGetting<chooseOnPath>, getOnPath<::getxattr>},
    CallKind{"lgetxattr", 2, chooseGetting<chooseOnPath>, getOnPath<::lgetxattr>},
    CallKind{"fgetxattr", 3, chooseGetting<chooseOnDescriptor>, getOnDescriptor},
    CallKind{"listxattr", 4, chooseGetting<chooseOnPath>, listOnPath<::listxattr>},
    CallKind{"llistxattr", 2, chooseGetting<chooseOnPath>, listOnPath<::llistxattr>},
    CallKind{"flistxattr", 2, chooseGetting<chooseOnDescriptor>, listOnDescriptor},
    CallKind{"removexattr", 4, chooseOnPath, removeOnPath<::removexattr>},
    CallKind{"lremovexattr", 2, chooseOnPath, removeOnPath<::lremovexattr>},
    CallKind{"fremovexattr", 2, chooseOnDescriptor, removeOnDescriptor},
};

} // namespace

std::span<const CallKind> extendedCalls() {
    return extendedKinds;
}

} // namespace syscalls
