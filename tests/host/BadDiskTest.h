#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SessionTest.h"

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace storage::tests {

/// Tests `import`, `export` and `check` with failing disks, racing programs and malformed command lines.
/// Tests that interfere in the middle of a command use the fixture's session; the others run the program.
class BadDiskTest : public SessionTest {
protected:
    /// A plug-in that does what the environment variable BAD_PLUGIN says.
    static inline const std::string badPlugin = std::string(TEST_BAD_PLUGINS) + "/libBadProvider.so";
    static constexpr std::size_t mebibyte = std::size_t{1} << 20;

    static std::string line(const std::string& text) { return "qzstorage: " + text + '\n'; }

    static ProgramRun runLines(
        const std::string& lines, const ProgramRun::Preparation& prepare = [] {}) {
        return {{"shell", "--keep-going"}, lines, prepare};
    }

    /// Calls `interfere` directly before the first call of the provider's `operation`.
    void once(const std::string& operation, const std::function<void()>& interfere) {
        provider_->before = [operation, interfere, done = false](const std::string& called,
                                                                 const provider::StorageIRI&) mutable {
            if (called == operation && !done) {
                done = true;
                interfere();
            }
        };
    }

    /// Like `once`, but before the first call at `path`.
    void onceAt(const std::string& operation, const std::u16string& path,
                const std::function<void()>& interfere) {
        provider_->before = [operation, path, interfere, done = false](
                                const std::string& called, const provider::StorageIRI& iri) mutable {
            if (called == operation && iri.getPath() == path && !done) {
                done = true;
                interfere();
            }
        };
    }

    void makeFifo(const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }

    void resetHooks() {
        provider_->before = [](const char*, const provider::StorageIRI&) {};
        interruption_.clear();
    }
};

} // namespace storage::tests
