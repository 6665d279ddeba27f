#include "host/commands/CommandFactories.h"
#include "host/commands/FileEndCommand.h"
#include "host/commands/PrintBytes.h"
#include "host/support/Interruption.h"

#include <algorithm>

namespace storage::host {

namespace {

class TailCommand final : public FileEndCommand {
private:
    void print(Session& session, ByteStreamDevice file, const Amount& amount) override {
        const auto size = static_cast<unsigned long long>(std::streamoff(file.seek(0, std::ios_base::end)));
        const unsigned long long begin = amount.unit == Amount::Unit::Bytes
                                             ? size - std::min(size, amount.number)
                                             : beginOfLines(file, size, amount.number);
        seekTo(file, begin);
        printBytes(session, std::move(file), size - begin);
    }

    /// The offset of the last lines. Reads backwards, so that the cost does not depend on the file size.
    static unsigned long long beginOfLines(ByteStreamDevice& file, unsigned long long size,
                                           unsigned long long lines) {
        if (lines == 0) {
            return size;
        }
        std::vector<char> buffer(transferBufferSize);
        for (unsigned long long end = size; end > 0;) {
            Interruption::check();
            const unsigned long long begin = end - std::min<unsigned long long>(end, buffer.size());
            seekTo(file, begin);
            const std::streamsize count = file.read(buffer.data(), static_cast<std::streamsize>(end - begin));
            for (std::streamsize i = count; i-- > 0;) {
                const auto position = begin + static_cast<unsigned long long>(i);
                const bool endsLine = buffer[static_cast<std::size_t>(i)] == '\n' && position + 1 < size;
                if (endsLine && --lines == 0) {
                    return position + 1;
                }
            }
            end = begin;
        }
        return 0;
    }

    static void seekTo(ByteStreamDevice& file, unsigned long long position) {
        file.seek(static_cast<boost::iostreams::stream_offset>(position), std::ios_base::beg);
    }
};

} // namespace

std::unique_ptr<Command> makeTailCommand() {
    return std::make_unique<TailCommand>();
}

} // namespace storage::host
