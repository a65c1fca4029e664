#include "support/run_cli.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "support/files.h"

namespace velq::test {

CliResult run_cli(const std::vector<std::string>& args) {
    char out_name[] = "/tmp/velq-cli-out-XXXXXX";
    char err_name[] = "/tmp/velq-cli-err-XXXXXX";
    const int out_fd = ::mkstemp(out_name);
    const int err_fd = ::mkstemp(err_name);
    CliResult r;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(out_fd, STDOUT_FILENO);
        ::dup2(err_fd, STDERR_FILENO);
        std::vector<char*> argv;
        std::string tool = VELQ_CLI_PATH;
        argv.push_back(tool.data());
        std::vector<std::string> copy = args;
        for (std::string& a : copy) argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(tool.c_str(), argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ::close(out_fd);
    ::close(err_fd);
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.out = file_text(out_name);
    r.err = file_text(err_name);
    ::unlink(out_name);
    ::unlink(err_name);
    return r;
}

std::vector<std::string> words(const std::string& line) {
    std::vector<std::string> out;
    std::istringstream in(line);
    for (std::string w; std::getline(in, w, ' ');) out.push_back(w);
    return out;
}

}  // namespace velq::test
