#include "host/console/RunReported.h"

#include "host/console/DescriptorOutput.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"

namespace storage::host {

ExitStatus runReported(Console& console, const std::function<ExitStatus()>& task) {
    try {
        return task();
    } catch (const OutputError&) {
        throw;
    } catch (const Interrupted& interrupted) {
        console.out().clear(); // clears the error state of an interrupted write
        console.report({"", interrupted.what()});
        return ExitStatus::Interrupted;
    } catch (const UsageError& error) {
        console.report({"", error.what()});
        return ExitStatus::Usage;
    } catch (...) {
        console.reportCurrentException("");
        return ExitStatus::Failure;
    }
}

} // namespace storage::host
