#include "tests/support/ProgramRun.h"

#include "tests/support/ProcessState.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

void redirect(const std::string& path, int flags, int descriptor) {
    const int file = ::open(path.c_str(), flags, 0600);
    ::dup2(file, descriptor);
    ::close(file);
}

[[noreturn]] void execute(const std::vector<std::string>& arguments) {
    std::string program = TEST_PROGRAM;
    std::vector<std::string> words = arguments;
    std::vector<char*> argv{program.data()};
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    ::execv(program.c_str(), argv.data());
    ::_exit(127);
}

} // namespace

ProgramRun::ProgramRun(const std::vector<std::string>& arguments, const std::string& input,
                       const Preparation& prepare, const Companion& meanwhile) {
    const TemporaryFolder folder;
    const std::string in = folder.write("in", input);
    storage::host::ChildProcess process([&] {
        redirect(in, O_RDONLY, STDIN_FILENO);
        redirect(folder / "out", O_WRONLY | O_CREAT, STDOUT_FILENO);
        redirect(folder / "err", O_WRONLY | O_CREAT, STDERR_FILENO);
        prepare();
        execute(arguments);
    });
    meanwhile(process.id());
    const int state = waitForEnd(process);
    status_ = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    output_ = readFile(folder / "out");
    errors_ = readFile(folder / "err");
}
