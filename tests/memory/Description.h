#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/EntryExistence.h"
#include "hostapi/storage/provider/ExtendedAttributes.h"
#include "hostapi/storage/provider/FileAttributes.h"
#include "hostapi/storage/provider/FilenameSensitivity.h"
#include "hostapi/storage/provider/FolderAttributes.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <ios>
#include <memory>
#include <string>
#include <vector>

namespace storage::tests {

// The result of an operation as text, for comparing. Streams are read and listings iterated to their ends.

std::string described(bool answer);
std::string described(long number);
std::string described(std::streampos position);
std::string described(const std::vector<std::u16string>& names);
std::string described(const provider::StorageIRI& iri);
std::string described(provider::EntryExistence existence);
std::string described(provider::FilenameSensitivity sensitivity);
std::string described(const provider::FileAttributes& attributes);
std::string described(const provider::FolderAttributes& attributes);
std::string described(const provider::ExtendedAttributes& attributes);
std::string described(const provider::FolderEntry& entry);
std::string described(const provider::IProvider::PathComparator& comparator);
std::string described(provider::ByteStream& stream);
std::string described(const std::unique_ptr<provider::ByteStream>& stream);
std::string described(const std::unique_ptr<provider::IFolderEntryIterator>& listing);

} // namespace storage::tests
