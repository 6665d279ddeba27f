#include "host/mount/InodeTree.h"

#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace storage::tests {

namespace {

using host::ChildTable;
using host::FileInode;
using host::Inode;
using host::TreeEntry;
using testing::ElementsAre;
using testing::IsEmpty;

class ChildTableTest : public testing::Test {
protected:
    Inode& add(ChildTable& table, const std::u16string& name) {
        return table.add(std::make_unique<FileInode>(name, nextNumber_++)).inode();
    }

    /// Returns the names after `position` in a listing.
    static std::vector<std::u16string> namesAfter(const ChildTable& table, std::uint64_t position) {
        std::vector<std::u16string> names;
        for (const TreeEntry* child = table.after(position); child != nullptr;
             child = table.after(position)) {
            names.push_back(ChildTable::nameOf(*child));
            position = ChildTable::positionOf(*child);
        }
        return names;
    }

    static void move(ChildTable& from, const Inode& child, ChildTable& to, std::u16string name,
                     std::uint64_t position) {
        to.makeRoom();
        to.moveHere(from, child, std::move(name), position);
    }

    ChildTable table_;
    std::uint64_t nextNumber_ = 2;
};

TEST_F(ChildTableTest, FindsChildrenByName) {
    EXPECT_TRUE(table_.empty());
    Inode& a = add(table_, u"a");
    Inode& longName = add(table_, std::u16string(200, u'x'));
    EXPECT_FALSE(table_.empty());
    EXPECT_EQ(table_.find(u"a"), &a);
    EXPECT_EQ(table_.find(std::u16string(200, u'x')), &longName);
    EXPECT_EQ(table_.find(u"A"), nullptr);
    EXPECT_EQ(table_.find(u""), nullptr);
}

TEST_F(ChildTableTest, ListsTheLatestChildFirst) {
    EXPECT_EQ(table_.after(0), nullptr);
    Inode& z = add(table_, u"z");
    add(table_, u"a");
    Inode& m = add(table_, u"m");
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"m", u"a", u"z"));
    EXPECT_THAT(namesAfter(table_, ChildTable::positionOf(m)), ElementsAre(u"a", u"z"));
    EXPECT_THAT(namesAfter(table_, ChildTable::positionOf(z)), IsEmpty());
}

TEST_F(ChildTableTest, ReservesTwoPositions) {
    EXPECT_GT(ChildTable::positionOf(add(table_, u"a")), 2U);
}

TEST_F(ChildTableTest, DoesNotListNewChildrenInARunningListing) {
    Inode& first = add(table_, u"a");
    add(table_, u"b");
    const std::uint64_t reached = ChildTable::positionOf(*table_.find(u"b"));
    add(table_, u"c");
    EXPECT_THAT(namesAfter(table_, reached), ElementsAre(u"a"));
    table_.remove(first);
    add(table_, u"a");
    EXPECT_THAT(namesAfter(table_, reached), IsEmpty());
}

TEST_F(ChildTableTest, ContinuesAListingAtARemovedChild) {
    add(table_, u"a");
    Inode& b = add(table_, u"b");
    add(table_, u"c");
    const std::uint64_t reached = ChildTable::positionOf(b);
    const std::unique_ptr<TreeEntry> removed = table_.remove(b);
    EXPECT_EQ(removed.get(), &b);
    EXPECT_EQ(ChildTable::nameOf(*removed), u"b");
    EXPECT_EQ(table_.find(u"b"), nullptr);
    EXPECT_THAT(namesAfter(table_, reached), ElementsAre(u"a"));
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"c", u"a"));
}

TEST_F(ChildTableTest, MovesAChildToAnotherTable) {
    Inode& child = add(table_, u"a");
    add(table_, u"stays");
    ChildTable other;
    add(other, u"x");
    move(table_, child, other, std::u16string(100, u'n'), other.newPosition());
    EXPECT_EQ(other.find(std::u16string(100, u'n')), &child);
    EXPECT_EQ(ChildTable::nameOf(child), std::u16string(100, u'n'));
    EXPECT_EQ(table_.find(u"a"), nullptr);
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"stays"));
    EXPECT_THAT(namesAfter(other, 0), ElementsAre(std::u16string(100, u'n'), u"x"));
}

TEST_F(ChildTableTest, KeepsThePositionOfARenamedChild) {
    Inode& child = add(table_, u"a");
    add(table_, u"b");
    move(table_, child, table_, u"c", ChildTable::positionOf(child));
    EXPECT_EQ(table_.find(u"c"), &child);
    EXPECT_EQ(table_.find(u"a"), nullptr);
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"b", u"c"));
}

TEST_F(ChildTableTest, GivesAReplacementThePositionOfItsTarget) {
    Inode& replaced = add(table_, u"old");
    add(table_, u"b");
    Inode& child = add(table_, u"new");
    const std::uint64_t position = ChildTable::positionOf(replaced);
    table_.remove(replaced);
    move(table_, child, table_, u"old", position);
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"b", u"old"));
}

TEST_F(ChildTableTest, ExchangesTwoChildren) {
    Inode& a = add(table_, u"a");
    add(table_, u"stays");
    Inode& b = add(table_, u"b");
    ChildTable other;
    Inode& c = add(other, std::u16string(100, u'c'));
    table_.exchange(a, table_, b);
    EXPECT_EQ(table_.find(u"a"), &b);
    EXPECT_EQ(table_.find(u"b"), &a);
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"b", u"stays", u"a"));
    table_.exchange(a, other, c);
    EXPECT_EQ(other.find(std::u16string(100, u'c')), &a);
    EXPECT_EQ(table_.find(u"b"), &c);
    EXPECT_THAT(namesAfter(table_, 0), ElementsAre(u"b", u"stays", u"a"));
    EXPECT_THAT(namesAfter(other, 0), ElementsAre(std::u16string(100, u'c')));
}

TEST_F(ChildTableTest, CountsFolders) {
    const TreeEntry& folder = table_.add(std::make_unique<host::FolderInode>(u"d", nextNumber_++));
    Inode& file = add(table_, u"f");
    EXPECT_EQ(table_.folders(), 1U);
    ChildTable other;
    move(table_, folder.inode(), other, u"d", other.newPosition());
    EXPECT_EQ(table_.folders(), 0U);
    EXPECT_EQ(other.folders(), 1U);
    table_.exchange(file, other, *other.find(u"d"));
    EXPECT_EQ(table_.folders(), 1U);
    EXPECT_EQ(other.folders(), 0U);
    table_.remove(*table_.find(u"f"));
    EXPECT_EQ(table_.folders(), 0U);
}

TEST_F(ChildTableTest, VisitsEveryChild) {
    add(table_, u"a");
    add(table_, u"b");
    std::vector<std::u16string> visited;
    table_.forEach([&](const TreeEntry& child) { visited.push_back(ChildTable::nameOf(child)); });
    EXPECT_THAT(visited, testing::UnorderedElementsAre(u"a", u"b"));
}

/// Adds, removes, renames, replaces and exchanges children at random. Compares the table with two maps.
TEST_F(ChildTableTest, AgreesWithMapsAfterRandomChanges) {
    using Names = std::map<std::u16string, const TreeEntry*>;
    using Order = std::map<std::uint64_t, const TreeEntry*>;
    constexpr unsigned seed = 4711;
    std::mt19937 random(seed);
    Names names;
    Order order;
    const auto anyName = [&] {
        const std::string digits = std::to_string(random() % 300);
        return std::u16string(random() % 2 == 0 ? 0 : 20, u'x') +
               std::u16string(digits.begin(), digits.end());
    };
    const auto take = [&](const std::u16string& name) {
        order.erase(ChildTable::positionOf(*names.at(name)));
        names.erase(name);
    };
    const auto note = [&](const std::u16string& name, const TreeEntry& child) {
        names[name] = &child;
        order[ChildTable::positionOf(child)] = &child;
    };
    for (unsigned step = 0; step < 20'000; ++step) {
        const std::u16string name = anyName();
        const std::u16string otherName = anyName();
        TreeEntry* const child = table_.find(name);
        TreeEntry* const other = table_.find(otherName);
        ASSERT_EQ(child, names.contains(name) ? names[name] : nullptr) << step;
        const bool grows = step / 2000 % 2 == 0; // the table grows and shrinks in turn
        if (child == nullptr) {
            if (grows || random() % 8 == 0) {
                note(name, add(table_, name));
            }
        } else if (other == nullptr && random() % 2 == 0) {
            const std::uint64_t position = ChildTable::positionOf(*child);
            take(name);
            move(table_, child->inode(), table_, otherName, position);
            note(otherName, *child);
        } else if (other != nullptr && other != child && random() % 2 == 0) {
            table_.exchange(*child, table_, *other);
            std::swap(names[name], names[otherName]);
            std::swap(order[ChildTable::positionOf(*child)], order[ChildTable::positionOf(*other)]);
        } else if (other != nullptr && other != child && random() % 2 == 0) {
            const std::uint64_t position = ChildTable::positionOf(*other);
            take(otherName);
            take(name);
            table_.makeRoom();
            table_.remove(*other);
            table_.moveHere(table_, *child, otherName, position);
            note(otherName, *child);
        } else if (!grows || random() % 4 == 0) {
            take(name);
            table_.remove(*child);
        }
        const std::uint64_t from =
            order.empty()
                ? 0
                : std::next(order.begin(), static_cast<std::ptrdiff_t>(random() % order.size()))->first;
        const auto next = order.upper_bound(from);
        ASSERT_EQ(table_.after(from), next == order.end() ? nullptr : next->second) << step;
        ASSERT_EQ(table_.empty(), order.empty());
    }
    std::vector<const TreeEntry*> expected;
    for (const auto& [position, entry] : order) {
        expected.push_back(entry);
    }
    std::vector<const TreeEntry*> visited;
    table_.forEach([&](const TreeEntry& entry) { visited.push_back(&entry); });
    EXPECT_EQ(visited, expected);
}

TEST_F(ChildTableTest, AddsAndRemovesThousandsOfChildren) {
    constexpr std::uint64_t count = 5000;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i);
        add(table_, std::u16string(digits.begin(), digits.end()));
    }
    for (std::uint64_t i = 0; i < count; i += 2) {
        const std::string digits = std::to_string(i);
        table_.remove(*table_.find(std::u16string(digits.begin(), digits.end())));
    }
    EXPECT_EQ(namesAfter(table_, 0).size(), count / 2);
    EXPECT_EQ(table_.find(u"100"), nullptr);
    EXPECT_NE(table_.find(u"101"), nullptr);
}

} // namespace

} // namespace storage::tests
