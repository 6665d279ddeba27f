// The bytes are path texts, which the entry path and a plain restatement of its rules must take alike: a byte for the
// code units of the first, one for those of the second, then the code units, the lower byte first. What is left makes
// the third.

#include "tests/fuzz/Fail.h"
#include "tests/fuzz/PrintedCount.h"
#include "tests/model/ByteReader.h"
#include "tests/model/EntryPathRules.h"
#include "tests/model/ShownText.h"

#include <array>

using namespace storage::inmemoryprovider::tests;

namespace {

std::u16string readText(ByteReader& bytes, std::size_t length) {
    std::u16string text;
    while (text.size() < length && !bytes.atEnd()) {
        text += static_cast<char16_t>(bytes.number(2));
    }
    return text;
}

void require(const std::string& brokenRule, const std::string& where) {
    if (!brokenRule.empty()) {
        fail(brokenRule + " of " + where);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static PrintedCount count("pairs of paths held against the rules");
    ByteReader bytes({data, size});
    const std::size_t firstLength = bytes.byte();
    const std::size_t secondLength = bytes.byte();
    const auto first = readText(bytes, firstLength);
    const auto second = readText(bytes, secondLength);
    const std::array<std::u16string, 3> texts = {first, second, readText(bytes, size)};
    for (const auto& left : texts) {
        require(ruleBrokenBy(left), shown(left));
        for (const auto& right : texts) {
            require(ruleBrokenBy(left, right), shown(left) + " and " + shown(right));
        }
    }
    count.add(texts.size() * texts.size());
    return 0;
}
