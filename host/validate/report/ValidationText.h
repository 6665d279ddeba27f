#pragma once

#include "host/validate/report/GroupRecord.h"
#include "host/validate/report/ValidationRecord.h"

#include <ostream>

namespace storage::host {

/// The report of a run for people, group by group as the run goes on.
///
/// Borrows the stream. Thread safety: one object is for one thread.
class ValidationText {
public:
    explicit ValidationText(std::ostream& out) : out_(out) {}

    void printBegin(const ValidationRecord& record);
    void printGroup(const GroupRecord& group);
    void printEnd(const ValidationRecord& record);

private:
    void printCheck(const CheckRecord& record);

    std::ostream& out_;
};

} // namespace storage::host
