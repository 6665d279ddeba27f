#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The bound of bandwidth: each file is new memory of the exact size, and memcpy copies its bytes. Has no
/// tree.
class MemcpyStore final : public Store {
public:
    static Abilities abilities();

    void prepare(const std::vector<std::string>& paths) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToOverwrite(PathIndex path) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    std::vector<std::unique_ptr<char, Free>> files_;
};

} // namespace storage::benchmark
