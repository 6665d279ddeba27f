#include "host/plugin/NamedPlugin.h"
#include "host/support/UsageError.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::NamedPlugin;
using host::namedPlugins;
using host::onlyPlugin;
using host::UsageError;
using testing::HasSubstr;
using testing::ThrowsMessage;

std::vector<std::string> texts(const std::vector<std::string>& words) {
    std::vector<std::string> result;
    for (const NamedPlugin& plugin : namedPlugins(words)) {
        result.push_back(plugin.name + '|' + plugin.path);
    }
    return result;
}

TEST(NamedPluginTest, ParsesTheNameBeforeTheFirstEqualsSign) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts({"p.so"}), Texts{"|p.so"});
    EXPECT_EQ(texts({"mem=/a=b/p.so"}), Texts{"mem|/a=b/p.so"});
    EXPECT_EQ(texts({"./mem=p.so"}), Texts{"|./mem=p.so"});
    EXPECT_EQ(texts({"b=p.so", "a-1_B=p.so"}), (Texts{"b|p.so", "a-1_B|p.so"}));
}

TEST(NamedPluginTest, NamesThePluginWithoutANameDefault) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts({"a=1.so", "2.so", "b=3.so"}), (Texts{"default|2.so", "a|1.so", "b|3.so"}));
}

TEST(NamedPluginTest, RejectsInvalidNames) {
    const auto refusal = [](const std::vector<std::string>& words, const std::string& text) {
        EXPECT_THAT([&] { namedPlugins(words); }, ThrowsMessage<UsageError>(HasSubstr(text)));
    };
    refusal({"=p.so"}, "the name before '=' is empty");
    refusal({"a b=p.so"}, "a name consists of letters, digits, - and _");
    refusal({"a:b=p.so"}, "a name consists of letters, digits, - and _");
    refusal({"a=1.so", "b=1.so", "a=2.so"}, "--plugin: duplicate name 'a'");
    refusal({"default=1.so", "2.so"}, "--plugin: duplicate name 'default'");
    refusal({"1.so", "2.so"}, "--plugin 2.so: only one plug-in can have no name; give NAME=PATH");
}

TEST(NamedPluginTest, RejectsNamesForASinglePlugin) {
    EXPECT_EQ(onlyPlugin({}), std::nullopt);
    EXPECT_EQ(onlyPlugin(namedPlugins({"p.so"})), "p.so");
    EXPECT_THROW(onlyPlugin(namedPlugins({"a=p.so"})), UsageError);
    EXPECT_THROW(onlyPlugin(namedPlugins({"p.so", "a=p.so"})), UsageError);
}

} // namespace

} // namespace storage::tests
