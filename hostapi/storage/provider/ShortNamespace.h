#pragma once

namespace foundation::storage::provider {}

namespace storage {

/// Short for the namespace of the host interface, for the plug-in, the host program and their tests.
namespace provider = foundation::storage::provider;

} // namespace storage
