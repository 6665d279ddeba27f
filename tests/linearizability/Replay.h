#pragma once

#include "tests/linearizability/History.h"
#include "tests/model/ReferenceModel.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Replays the calls of a history on the reference model in a given order of their steps.
///
/// Most calls are one step. Calls with two documented steps have two here:
/// - Setting a time or flag finds the entry and then changes it. The change has no effect if the entry was
///   moved or replaced in between.
/// - The attributes of a folder are read in two steps: time, then flag.
///
/// The attributes of a file are one step, which finds the file. Each reported attribute must be a value that
/// the file had between that step and the end of the call.
class Replay {
public:
    explicit Replay(const History& history);

    /// Takes the next step of a call.
    /// @return whether the model explains the result of the call; if not, this object must not be used any
    ///     more
    bool take(std::size_t call);

    /// Whether the call may take its next step now: a call that began after another one ended must not
    /// precede it.
    bool mayTake(std::size_t call) const;

    /// Whether all calls are explained and the model's tree equals the final tree.
    bool explainsAll() const;

private:
    /// State of one call.
    struct Progress {
        std::size_t steps = 0;
        bool complete = false;
        // Set by the step that finds the entry. `inPlace` is true until the entry is removed, replaced or
        // moved.
        bool found = false;
        bool inPlace = false;
        std::shared_ptr<std::string> bytes;
        // Attributes of a file that are not explained yet.
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
