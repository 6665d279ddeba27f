#include "host/mount/MountHelperCall.h"

#include "host/support/UsageError.h"

#include <span>
#include <string_view>

namespace storage::host {

namespace {

constexpr std::string_view helperName = "mount.fuse.qzstorage";

bool isHelper(std::string_view program) {
    return program.substr(program.rfind('/') + 1) == helperName;
}

/// Parses the arguments of mount(8), which may put options before and after the operands.
class Reader {
public:
    explicit Reader(std::span<const char* const> words) : rest_(words) {}

    MountHelperCall call() {
        while (!rest_.empty()) {
            const std::string_view word = next();
            if (word == "--help" || word == "-h") {
                return {{"qzstorage", "mount", "--help"}};
            }
            if (word.size() > 1 && word.front() == '-') {
                readFlags(word.substr(1));
            } else {
                operands_.emplace_back(word);
            }
        }
        if (operands_.size() != 2) {
            throw UsageError("expected two operands, SOURCE and MOUNTPOINT, as from mount(8)");
        }
        const std::string all = "fsname=" + operands_[0] + (isSloppy_ ? ",sloppy" : "") + list_;
        return {{"qzstorage", "mount", "--background", "-o", all, "--", operands_[1]}, isFake_};
    }

private:
    std::string_view next() {
        const std::string_view word = rest_.front();
        rest_ = rest_.subspan(1);
        return word;
    }

    /// Parses option letters. The last one may use the next argument as its value.
    void readFlags(std::string_view letters) {
        for (; !letters.empty(); letters.remove_prefix(1)) {
            switch (letters.front()) {
            case 's':
                isSloppy_ = true;
                break;
            case 'f':
                isFake_ = true;
                break;
            case 'n': // -n: no entry in mtab; there is none
            case 'v': // -v: verbose; has no effect
                break;
            case 'o':
                list_ += ',' + value(letters);
                return;
            case 't': // -t: the type, by which mount(8) found this helper
                value(letters);
                return;
            default:
                throw UsageError(std::string("-") + letters.front() + ": unknown mount option");
            }
        }
    }

    std::string value(std::string_view letters) {
        if (letters.size() > 1) {
            return std::string(letters.substr(1));
        }
        if (rest_.empty()) {
            throw UsageError(std::string("-") + letters.front() + ": the option requires a value");
        }
        return std::string(next());
    }

    std::span<const char* const> rest_;
    std::vector<std::string> operands_;
    std::string list_;
    bool isSloppy_ = false;
    bool isFake_ = false;
};

} // namespace

std::optional<MountHelperCall> MountHelperCall::of(int argc, const char* const* argv) {
    if (argc < 1 || !isHelper(argv[0])) {
        return std::nullopt;
    }
    return Reader({argv + 1, static_cast<std::size_t>(argc - 1)}).call();
}

} // namespace storage::host
