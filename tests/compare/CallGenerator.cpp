#include "tests/compare/CallGenerator.h"

#include <fcntl.h>

namespace syscalls {

CallGenerator::CallGenerator(std::uint64_t seed, const Exclusions& exclusions)
    : choice_(seed, sketch_, exclusions), usesRootOnly_(exclusions.has("user-1")) {
    for (const CallKind& kind : allKinds()) {
        if (!exclusions.has(kind.name)) {
            kinds_.insert(kinds_.end(), kind.weight, &kind);
        }
    }
}

Call CallGenerator::next() {
    const CallKind& kind =
        *kinds_[static_cast<std::size_t>(choice_.below(static_cast<std::int64_t>(kinds_.size())))];
    Call call;
    call.user = usesRootOnly_ ? 0 : static_cast<unsigned>(choice_.below(TreeSketch::users));
    call.kind = kind.name;
    choice_.setUser(call.user);
    kind.choose(choice_, call);
    return call;
}

void CallGenerator::noteSuccess(const Call& call) {
    switch (kindNamed(call.kind).effect) {
    case Effect::Nothing:
        break;
    case Effect::MakesFile:
        sketch_.make(call.first, TreeSketch::Kind::File);
        break;
    case Effect::MakesFolder:
        sketch_.make(call.first, TreeSketch::Kind::Folder);
        break;
    case Effect::MakesLink:
        sketch_.make(call.first, TreeSketch::Kind::Link);
        break;
    case Effect::MakesOther:
        sketch_.make(call.first, TreeSketch::Kind::Other);
        break;
    case Effect::Links:
        sketch_.link(call.first, call.second);
        break;
    case Effect::Removes:
        sketch_.remove(call.first);
        break;
    case Effect::Moves:
        sketch_.move(call.first, call.second);
        break;
    case Effect::Exchanges:
        sketch_.exchange(call.first, call.second);
        break;
    case Effect::OpensFile:
        noteOpening(call);
        break;
    case Effect::OpensFolder:
        sketch_.setSlot(call.user, call.numbers[0], TreeSketch::Slot::Folder);
        break;
    case Effect::Closes:
        sketch_.setSlot(call.user, call.numbers[0], TreeSketch::Slot::Empty);
        break;
    }
}

void CallGenerator::noteOpening(const Call& call) {
    const auto flags = static_cast<unsigned>(call.numbers[1]);
    sketch_.setSlot(call.user, call.numbers[0], TreeSketch::Slot::File);
    if ((flags & O_CREAT) != 0) {
        sketch_.make(call.first, TreeSketch::Kind::File);
    }
}

} // namespace syscalls
