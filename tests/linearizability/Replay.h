#pragma once

#include "tests/linearizability/History.h"
#include "tests/model/ReferenceModel.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// The calls of a history, made on the reference model in a given order of their steps.
///
/// Most calls are one step. Those that the contract calls two steps are two here: setting a time or flag finds the entry, then
/// sets it, and has no effect when the entry was moved or replaced in between; the attributes of a folder are its time, then
/// its flag. The attributes of a file are one step that finds it, and each of them is one that the file had between that
/// step and the end of the call.
class Replay {
public:
    explicit Replay(const History& history);

    /// Takes the next step of a call.
    /// @return whether the model explains what the call returned; when not, this object is of no more use
    bool take(std::size_t call);

    /// Whether the call can take its next step now: one that comes later than another cannot overtake it.
    bool mayTake(std::size_t call) const;

    /// Whether all calls have been explained and the model's tree is the one that was left.
    bool explainsAll() const;

private:
    /// What is known of one call so far.
    struct Progress {
        std::size_t steps = 0;
        bool complete = false;
        // From the step on that finds the entry; the entry stays until it is removed, replaced or moved.
        bool found = false;
        bool inPlace = false;
        std::shared_ptr<std::string> bytes;
        // Attributes of a file that have not been explained yet.
        bool sizeOpen = false;
        bool timeOpen = false;
        bool flagOpen = false;
    };

    bool takeSetterStep(const RecordedCall& recorded, Progress& progress);
    bool takeFolderAttributesStep(const RecordedCall& recorded, Progress& progress);
    bool takeFileAttributesStep(const RecordedCall& recorded, Progress& progress);
    bool takeWhole(const RecordedCall& recorded);
    Outcome make(const Call& call, std::optional<ModelStream>& stream);

    void noteChange(const RecordedCall& changer);
    void explainAttributes(const RecordedCall& recorded, Progress& progress) const;
    const ModelEntry* entryAt(const std::u16string& path) const;
    bool timeAgrees(const ModelTime& expected, const boost::posix_time::ptime& seen) const;
    bool isSetInRound(const boost::posix_time::ptime& time) const;
    bool treeAgrees() const;

    const History& history_;
    ReferenceModel model_;
    std::vector<Progress> progress_;
    std::vector<std::optional<ModelStream>> streams_; ///< by thread
};

} // namespace storage::inmemoryprovider::tests
