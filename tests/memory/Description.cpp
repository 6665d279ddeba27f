#include "tests/memory/Description.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <sstream>

namespace storage::tests {

using namespace provider;

std::string described(bool answer) {
    return answer ? "yes" : "no";
}

std::string described(long number) {
    return std::to_string(number);
}

std::string described(std::streampos position) {
    return std::to_string(std::streamoff(position));
}

std::string described(const std::vector<std::u16string>& names) {
    return testing::PrintToString(names);
}

std::string described(const StorageIRI& iri) {
    return testing::PrintToString(iri.getResolvedPath());
}

std::string described(EntryExistence existence) {
    return std::to_string(static_cast<std::int32_t>(existence));
}

std::string described(FilenameSensitivity sensitivity) {
    return std::to_string(static_cast<std::int32_t>(sensitivity));
}

std::string described(const FileAttributes& attributes) {
    return described(ExtendedAttributes{FolderEntry::EntryType::File, attributes.getSize(),
                                        attributes.getLastModified(), attributes.isWritable()});
}

std::string described(const FolderAttributes& attributes) {
    return described(ExtendedAttributes{FolderEntry::EntryType::Folder, 0, attributes.getLastModified(),
                                        attributes.isWritable()});
}

std::string described(const ExtendedAttributes& attributes) {
    std::ostringstream text;
    text << static_cast<std::int32_t>(attributes.type) << ", " << attributes.size << " bytes, "
         << attributes.lastModified << ", " << described(attributes.writable);
    return text.str();
}

std::string described(const FolderEntry& entry) {
    return testing::PrintToString(entry.getName()) +
           std::to_string(static_cast<std::int32_t>(entry.getType()));
}

std::string described(const IProvider::PathComparator& comparator) {
    return described(comparator(u"/a", u"/b")) + described(comparator(u"/b", u"/a"));
}

std::string described(ByteStream& stream) {
    std::string text = described(stream.seek(0, std::ios_base::cur)) + ": ";
    std::array<char, 64> buffer{};
    long count = 0;
    while ((count = stream.read(buffer.data(), static_cast<long>(buffer.size()))) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

std::string described(const std::unique_ptr<ByteStream>& stream) {
    return described(*stream);
}

std::string described(const std::unique_ptr<IFolderEntryIterator>& listing) {
    std::string text;
    while (listing->hasNext()) {
        listing->step();
        text += described(listing->getEntry()) + " ";
    }
    return text;
}

} // namespace storage::tests
