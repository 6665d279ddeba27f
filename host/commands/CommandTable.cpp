#include "host/commands/CommandTable.h"

#include "host/commands/CommandFactories.h"

namespace storage::host {

namespace {

constexpr CommandInfo commands[] = {
    {"ls", "[-l] [-h] [-R] [-t|-S] [-r] [-1] [PATH...]", "List files and the content of folders.",
     makeLsCommand},
    {"tree", "[-L DEPTH] [PATH]", "Print a tree, and count its folders and files.", makeTreeCommand},
    {"find", "[PATH...] [-name PATTERN] [-type f|d]", "List paths and all entries below them.",
     makeFindCommand},
    {"stat", "PATH...", "Print the attributes of entries.", makeStatCommand},
    {"du", "[-s] [-h] [--bars] [PATH...]", "Print the total file size of each folder.", makeDuCommand},
    {"df", "[-h] [PATH...]", "Print the size, free space and content of storages.", makeDfCommand},
    {"cd", "[PATH]", "Change the current folder, by default to the root.", makeCdCommand},
    {"pwd", "", "Print the current folder.", makePwdCommand},
    {"mkdir", "[-p] PATH...", "Create folders.", makeMkdirCommand},
    {"rmdir", "PATH...", "Remove empty folders.", makeRmdirCommand},
    {"rm", "[-r] [-f] PATH...", "Remove files; with -r, also folders.", makeRmCommand},
    {"cp", "[-r] SOURCE... DESTINATION", "Copy files; with -r, also folders.", makeCpCommand},
    {"mv", "[-f] SOURCE... DESTINATION", "Move or rename files and folders.", makeMvCommand},
    {"touch", "PATH...", "Set times to now; create missing files.", makeTouchCommand},
    {"chmod", "+w|-w PATH...", "Make entries writable or read-only.", makeChmodCommand},
    {"cat", "PATH...", "Print the content of files.", makeCatCommand},
    {"head", "[-n LINES|-c BYTES] PATH...", "Print the first lines or bytes of files.", makeHeadCommand},
    {"tail", "[-n LINES|-c BYTES] PATH...", "Print the last lines or bytes of files.", makeTailCommand},
    {"grep", "[-i] [-n] [-v] [-c] [-r] PATTERN [PATH...]", "Print the lines of files that match a pattern.",
     makeGrepCommand},
    {"sha256sum", "PATH...", "Print SHA-256 checksums of files.", makeSha256sumCommand},
    {"diff", "PATH PATH", "Compare two files; 'check' compares with the disk.", makeDiffCommand},
    {"write", "PATH [TEXT...|-]", "Replace the content of a file with text or the standard input.",
     makeWriteCommand},
    {"append", "PATH [TEXT...|-]", "Append text or the standard input to a file.", makeAppendCommand},
    {"truncate", "-s SIZE PATH...", "Set the size of files; cut off the end or append zeros.",
     makeTruncateCommand},
    {"import", "[-x] [--one-file-system=WHEN] [OPTION...] DISK-PATH... PATH",
     "Copy files and folders from the disk, or from archives, into the storage.", makeImportCommand},
    {"export", "[OPTION...] PATH... DISK-PATH",
     "Copy files and folders from the storage to the disk, or to an archive.", makeExportCommand},
    {"check", "[-t] [PATH DISK-PATH]", "Compare imported entries, or PATH, with the disk.", makeCheckCommand},
    {"put", "[OPTION...] DISK-PATH... PATH", "Like import, but copy archives as ordinary files.",
     makePutCommand},
    {"get", "[OPTION...] PATH... DISK-PATH", "Like export, but copy archives as ordinary files.",
     makeGetCommand},
    {"lcd", "DISK-PATH", "Change the current folder on the disk.", makeLcdCommand},
    {"lpwd", "", "Print the current folder on the disk.", makeLpwdCommand},
    {"lls", "[DISK-PATH...]", "List files and the content of folders on the disk.", makeLlsCommand},
    {"help", "[COMMAND]", "List the commands, or describe one.", makeHelpCommand},
    {"exit", "", "End the session.", makeExitCommand},
};

} // namespace

std::span<const CommandInfo> commandTable() {
    return commands;
}

} // namespace storage::host
