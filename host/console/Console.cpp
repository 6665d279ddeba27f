#include "host/console/Console.h"

#include "host/console/DescriptorOutput.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <utility>

namespace storage::host {

std::string Console::shown(std::u16string_view text) const {
    auto utf8 = toUtf8(text);
    return outKind_ == OutputKind::Terminal || !utf8 ? printable(text) : *std::move(utf8);
}

std::string Console::shown(std::string_view bytes) const {
    return outKind_ == OutputKind::Terminal ? printable(bytes) : std::string(bytes);
}

std::string Console::asFolder(const std::string& shownName) const {
    constexpr const char* boldBlue = "\033[1;34m";
    constexpr const char* reset = "\033[0m";
    return hasColors_ ? boldBlue + shownName + reset : shownName;
}

void Console::beginLine(std::string place) {
    place_ = std::move(place);
    beginCommand("");
}

void Console::beginCommand(std::string command) {
    command_ = std::move(command);
    failures_ = 0;
}

void Console::report(const Failure& failure) {
    ++failures_;
    printLine(failure.path, failure.reason);
    if (observer_ != nullptr) {
        observer_->failed(failure);
    }
}

void Console::reportCurrentException(const std::string& path) {
    report(Failure::ofCurrentException(path, diagnosis_));
}

void Console::notice(const std::string& path, const std::string& text) {
    printLine(path, text);
}

void Console::attempt(const std::string& path, const std::function<void()>& step) {
    try {
        step();
    } catch (const Interrupted&) {
        throw;
    } catch (const OutputError&) {
        throw;
    } catch (const UsageError&) {
        throw;
    } catch (...) {
        reportCurrentException(path);
    }
}

void Console::drawProgress(const std::string& line) {
    if (observer_ != nullptr) {
        observer_->progressed(line);
    }
    if (errKind_ == OutputKind::Terminal) {
        err_ << "\r\033[K" << line << std::flush;
        hasProgressLine_ = true;
    }
}

void Console::clearProgress() {
    if (std::exchange(hasProgressLine_, false)) {
        err_ << "\r\033[K" << std::flush;
    }
}

void Console::printLine(const std::string& path, const std::string& text) {
    clearProgress();
    out_.flush();
    std::string line = "qzstorage: ";
    for (const std::string& part : {place_, command_, path}) {
        if (!part.empty()) {
            line += printableInMessage(part) + ": ";
        }
    }
    err_ << line + printableInMessage(text) + '\n'
         << std::flush; // one write, so that output of other programs does not split the line
}

} // namespace storage::host
