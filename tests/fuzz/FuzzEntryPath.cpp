// Compares the entry path with a plain model of its rules. Input format: the first byte is the length of the
// first text in code units, the second that of the second text. The code units follow, low byte first. The
// remaining bytes are the third text.

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
    static PrintedCount count("pairs of paths checked");
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
