#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace storage::inmemoryprovider {

/// A file system, with helpers to set it up and to inspect it.
class FileSystemFixture : public testing::Test {
protected:
    static InMemoryEntryPath path(std::u16string text) { return InMemoryEntryPath(std::move(text)); }

    /// Returns any node; null if there is none.
    std::shared_ptr<InMemoryEntry> node(const std::u16string& text) const {
        if (text == u"/") {
            return fileSystem.getFolderEntry(path(text));
        }
        const auto parent = fileSystem.getFolderEntry(path(text).parentPath());
        return parent ? parent->getEntry(path(text)) : nullptr;
    }

    bool exists(const std::u16string& text) const { return node(text) != nullptr; }

    /// Checks whether a folder is in the tree and in the map, or in neither. It is a failure if only one of
    /// them has it.
    bool isFolder(const std::u16string& text) const {
        const auto inTree = node(text);
        const bool folderInTree = inTree && inTree->isFolder();
        const auto inMap = fileSystem.getFolderEntry(path(text));
        EXPECT_EQ(folderInTree, inMap != nullptr) << testing::PrintToString(text);
        if (folderInTree) {
            EXPECT_EQ(inTree, inMap);
        }
        return folderInTree;
    }

    boost::posix_time::ptime timeOf(const std::u16string& text) const {
        return node(text)->getLastModifiedTime();
    }

    void addFolder(const std::u16string& text) { fileSystem.addFolderEntry(path(text)); }
    void addFile(const std::u16string& text) { fileSystem.addFileEntry(path(text)); }

    void addFile(const std::u16string& text, const std::string& bytes) {
        addFile(text);
        unsigned long position = 0;
        file(text)->write(bytes.data(), static_cast<long>(bytes.size()), position,
                          provider::ByteStreamAppend::WriteAtPosition);
    }

    std::shared_ptr<InMemoryFileEntry> file(const std::u16string& text) const {
        return std::dynamic_pointer_cast<InMemoryFileEntry>(node(text));
    }

    std::string bytesOf(const std::u16string& text) const {
        const auto content = file(text)->getContent();
        return {content->begin(), content->end()};
    }

    void makeReadOnly(const std::u16string& text) { node(text)->setWritable(false); }

    /// Sets old times on entries, so that a new stamp is visible.
    void age(const std::vector<std::u16string>& texts) {
        for (const auto& text : texts) {
            node(text)->setLastModifiedTime(pastTime);
        }
    }

    const boost::posix_time::ptime pastTime{boost::gregorian::date(2001, 2, 3)};
    InMemoryFileSystem fileSystem;
};

} // namespace storage::inmemoryprovider
