#pragma once

#include "host/shell/Command.h"

#include <memory>

namespace storage::host {

// One factory per command, defined in the command's own file.
std::unique_ptr<Command> makeAppendCommand();
std::unique_ptr<Command> makeCatCommand();
std::unique_ptr<Command> makeCdCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeChmodCommand();
std::unique_ptr<Command> makeCpCommand();
std::unique_ptr<Command> makeDfCommand();
std::unique_ptr<Command> makeDiffCommand();
std::unique_ptr<Command> makeDuCommand();
std::unique_ptr<Command> makeExitCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeGetCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeGrepCommand();
std::unique_ptr<Command> makeHeadCommand();
std::unique_ptr<Command> makeHelpCommand();
std::unique_ptr<Command> makeImportCommand();
std::unique_ptr<Command> makePutCommand();
std::unique_ptr<Command> makeLcdCommand();
std::unique_ptr<Command> makeLlsCommand();
std::unique_ptr<Command> makeLpwdCommand();
std::unique_ptr<Command> makeLsCommand();
std::unique_ptr<Command> makeMkdirCommand();
std::unique_ptr<Command> makeMvCommand();
std::unique_ptr<Command> makePwdCommand();
std::unique_ptr<Command> makeRmCommand();
std::unique_ptr<Command> makeRmdirCommand();
std::unique_ptr<Command> makeSha256sumCommand();
std::unique_ptr<Command> makeStatCommand();
std::unique_ptr<Command> makeTailCommand();
std::unique_ptr<Command> makeTouchCommand();
std::unique_ptr<Command> makeTreeCommand();
std::unique_ptr<Command> makeTruncateCommand();
std::unique_ptr<Command> makeWriteCommand();

} // namespace storage::host
