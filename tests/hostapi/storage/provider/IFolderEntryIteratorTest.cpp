#include "hostapi/storage/provider/IFolderEntryIterator.h"

#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/VtableSlot.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

namespace storage::tests {

using namespace provider;

namespace {

class Countdown final : public IClonableFolderEntryIterator<Countdown> {
public:
    Countdown(int left, int& destroyed) : left_(left), destroyed_(destroyed) {}
    Countdown(const Countdown&) = default;
    Countdown& operator=(const Countdown&) = delete;
    ~Countdown() override { ++destroyed_; }

    FolderEntry getEntry() const override {
        return {std::u16string(static_cast<std::size_t>(left_), u'x'), FolderEntry::EntryType::File};
    }
    bool hasNext() const override { return left_ > 0; }
    void step() override { --left_; }

private:
    int left_;
    int& destroyed_;
};

TEST(IFolderEntryIteratorTest, HasItsOperationsInTheOrderOfTheAbi) {
    EXPECT_EQ(vtableSlot(&IFolderEntryIterator::getEntry), 0);
    EXPECT_EQ(vtableSlot(&IFolderEntryIterator::hasNext), 1);
    EXPECT_EQ(vtableSlot(&IFolderEntryIterator::step), 2);
    EXPECT_EQ(vtableSlot(&IFolderEntryIterator::clone), 3);
}

TEST(IFolderEntryIteratorTest, HasItsDestructorsAfterItsOperations) {
    int destroyed = 0;
    alignas(Countdown) std::array<std::byte, sizeof(Countdown)> room{};
    callVtableSlot(new (room.data()) Countdown(1, destroyed), 4);
    EXPECT_EQ(destroyed, 1);
    callVtableSlot(new Countdown(1, destroyed), 5);
    EXPECT_EQ(destroyed, 2);
}

TEST(IClonableFolderEntryIteratorTest, ClonesByCopyingTheConcreteIterator) {
    int destroyed = 0;
    Countdown original(2, destroyed);
    const std::unique_ptr<IFolderEntryIterator> clone = original.clone();
    original.step();
    original.step();
    EXPECT_FALSE(original.hasNext());
    ASSERT_TRUE(clone->hasNext());
    clone->step();
    EXPECT_EQ(clone->getEntry().getName(), u"x");
}

} // namespace

} // namespace storage::tests
