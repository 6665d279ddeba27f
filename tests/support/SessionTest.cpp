#include "tests/support/SessionTest.h"

#include "host/commands/CommandTable.h"
#include "tests/support/SharedProvider.h"

using storage::host::FailureHandling;
using storage::host::OutputKind;
using storage::host::Session;

namespace {

std::vector<std::shared_ptr<HookedProvider>> makeProviders(std::size_t count) {
    std::vector<std::shared_ptr<HookedProvider>> providers;
    while (providers.size() < count) {
        providers.push_back(std::make_shared<HookedProvider>(sharedProvider(TEST_PLUGIN)));
    }
    return providers;
}

std::vector<Session::NamedProvider> named(const std::vector<std::string>& names,
                                          const std::vector<std::shared_ptr<HookedProvider>>& providers) {
    std::vector<Session::NamedProvider> result;
    for (std::size_t i = 0; i < names.size(); ++i) {
        result.push_back({names[i], *providers[i]});
    }
    return result;
}

} // namespace

SessionTest::SessionTest(const std::vector<std::string>& names)
    : providers_(makeProviders(names.size())),
      provider_(providers_.front()),
      console_(out_, OutputKind::Plain, err_, OutputKind::Plain),
      session_(named(names, providers_), console_),
      shell_(storage::host::commandTable(), session_, FailureHandling::Interactive) {}

SessionTest::ExitStatus SessionTest::run(const std::string& line) {
    out_.str("");
    err_.str("");
    return shell_.execute(line);
}

std::string SessionTest::succeed(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Success) << line;
    EXPECT_EQ(errors(), "") << line;
    return output();
}

std::string SessionTest::fail(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Failure) << line;
    return errors();
}
