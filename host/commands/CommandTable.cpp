#include "host/commands/CommandTable.h"

#include "host/commands/CommandFactories.h"

namespace storage::host {

namespace {

constexpr CommandInfo commands[] = {
    {"ls", "[-l] [-h] [-R] [-t|-S] [-r] [-1] [PATH...]", "List files, and what folders hold.", makeLsCommand},
    {"tree", "[-L DEPTH] [PATH]", "Draw a tree and count its folders and files.", makeTreeCommand},
    {"find", "[PATH...] [-name PATTERN] [-type f|d]", "List entries at any depth.", makeFindCommand},
    {"stat", "PATH...", "Show all there is to know of entries.", makeStatCommand},
    {"du", "[-s] [-h] [--bars] [PATH...]", "Sum up the bytes of files, folder by folder.", makeDuCommand},
    {"df", "[-h] [PATH...]", "Show how much room storages have, and what they hold.", makeDfCommand},
    {"cd", "[PATH]", "Change the current folder, without PATH to the root.", makeCdCommand},
    {"pwd", "", "Print the current folder.", makePwdCommand},
    {"mkdir", "[-p] PATH...", "Make folders.", makeMkdirCommand},
    {"rmdir", "PATH...", "Remove empty folders.", makeRmdirCommand},
    {"rm", "[-r] [-f] PATH...", "Remove files, with -r folders too.", makeRmCommand},
    {"cp", "[-r] SOURCE... DESTINATION", "Copy files, with -r folders too.", makeCpCommand},
    {"mv", "[-f] SOURCE... DESTINATION", "Move or rename files and folders.", makeMvCommand},
    {"touch", "PATH...", "Set times to now, making missing files.", makeTouchCommand},
    {"chmod", "+w|-w PATH...", "Make entries writable or read-only.", makeChmodCommand},
    {"cat", "PATH...", "Print the bytes of files.", makeCatCommand},
    {"head", "[-n LINES|-c BYTES] PATH...", "Print the beginning of files.", makeHeadCommand},
    {"tail", "[-n LINES|-c BYTES] PATH...", "Print the end of files.", makeTailCommand},
    {"grep", "[-i] [-n] [-v] [-c] [-r] PATTERN [PATH...]", "Print the lines of files that match.",
     makeGrepCommand},
    {"sha256sum", "PATH...", "Print the SHA-256 sums of files.", makeSha256sumCommand},
    {"diff", "PATH PATH", "Say where two files differ; 'check' compares with the disk.", makeDiffCommand},
    {"write", "PATH [TEXT...|-]", "Replace a file's content by a line of text, or by the standard input.",
     makeWriteCommand},
    {"append", "PATH [TEXT...|-]", "Add a line of text, or the standard input, to a file.",
     makeAppendCommand},
    {"truncate", "-s SIZE PATH...", "Cut files off, or fill them up with zeros, at SIZE bytes.",
     makeTruncateCommand},
    {"import", "[-x] [--one-file-system=WHEN] [OPTION...] DISK-PATH... PATH",
     "Copy files and folders from the disk, or from archives, into the storage.", makeImportCommand},
    {"export", "[OPTION...] PATH... DISK-PATH",
     "Copy files and folders from the storage to the disk, or to an archive.", makeExportCommand},
    {"check", "[-t] [PATH DISK-PATH]", "Compare what was imported, or PATH, with the disk.",
     makeCheckCommand},
    {"put", "[OPTION...] DISK-PATH... PATH", "As import, with archives as files like any other.",
     makePutCommand},
    {"get", "[OPTION...] PATH... DISK-PATH", "As export, with archives as files like any other.",
     makeGetCommand},
    {"lcd", "DISK-PATH", "Change the current folder of the disk.", makeLcdCommand},
    {"lpwd", "", "Print the current folder of the disk.", makeLpwdCommand},
    {"lls", "[DISK-PATH...]", "List files of the disk, and what folders there hold.", makeLlsCommand},
    {"help", "[COMMAND]", "List the commands, or explain one.", makeHelpCommand},
    {"exit", "", "End the session.", makeExitCommand},
};

} // namespace

std::span<const CommandInfo> commandTable() {
    return commands;
}

} // namespace storage::host
