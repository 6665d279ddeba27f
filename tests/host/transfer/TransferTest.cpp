#include "host/session/Session.h"
#include "host/support/Interruption.h"
#include "host/transfer/Exporter.h"
#include "host/transfer/Importer.h"
#include "host/transfer/SessionExportSource.h"
#include "host/transfer/SessionImportTarget.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/DefaultSignals.h"
#include "tests/support/MiscountingProvider.h"
#include "tests/support/SharedProvider.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sstream>

namespace storage::tests {

namespace {

using host::Console;
using host::Exporter;
using host::Importer;
using host::ImportLog;
using host::OutputKind;
using host::RootAttributes;
using host::Session;
using host::SessionExportSource;
using host::SessionImportTarget;
using host::StoragePath;
using provider::StorageIRI;
using testing::HasSubstr;

const std::vector<MiscountingProvider::Count> wrongCounts{[](long count) { return count - 1; },
                                                          [](long) { return 0; }, [](long) { return -1; },
                                                          [](long count) { return count + 1; }};

/// Imports and exports without a shell. The storage may return wrong counts.
class TransferTest : public testing::Test {
protected:
    void import() {
        SessionImportTarget target(provider_, session_.kept(StoragePath()));
        Importer(target, console_, imports_)
            .run(disk_ / "src", StoragePath().child(u"copy"), RootAttributes::FromSource);
    }

    void exportAll() {
        SessionExportSource source(session_);
        Exporter(source, console_)
            .run(StoragePath().child(u"copy"), disk_ / "out", RootAttributes::FromSource);
    }

    TemporaryFolder disk_;
    std::ostringstream out_;
    std::ostringstream err_;
    DefaultSignals defaultSignals_;
    host::Interruption interruption_; // clears a signal of an earlier test
    Console console_{out_, OutputKind::Plain, err_, OutputKind::Plain};
    ImportLog imports_;
    MiscountingProvider provider_{sharedProvider(TEST_PLUGIN)};
    Session session_{provider_, console_};
};

TEST_F(TransferTest, LogsAnImportAndExportsItAgain) {
    disk_.write("src/f", "content");
    import();
    EXPECT_TRUE(imports_.covers(StoragePath().child(u"copy")));
    exportAll();
    EXPECT_EQ(readFile(disk_ / "out/f"), "content");
    EXPECT_EQ(err_.str(), "");
}

TEST_F(TransferTest, FailsTheImportOnAWrongWriteCount) {
    disk_.write("src/f", "content");
    for (const auto& wrong : wrongCounts) {
        err_.str("");
        provider_.written = wrong;
        import();
        EXPECT_THAT(err_.str(),
                    HasSubstr("src/f: the plug-in wrote " + std::to_string(wrong(7)) + " of 7 bytes\n"));
        EXPECT_FALSE(provider_.doFileExists(StorageIRI(u"/copy/f")));
    }
}

TEST_F(TransferTest, FailsTheExportOnAWrongReadCount) {
    disk_.write("src/f", "content");
    import();
    provider_.copied = [](long count) { return count + 1; };
    exportAll();
    EXPECT_EQ(err_.str(), "qzstorage: /copy/f: the plug-in read more bytes than requested\n");
    EXPECT_FALSE(std::filesystem::exists(disk_ / "out/f"));
}

} // namespace

} // namespace storage::tests
