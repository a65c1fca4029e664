// Runs the command-line tool as a user would and captures its exit code and its output streams.
#pragma once

#include <string>
#include <vector>

namespace velq::test {

struct CliResult {
    int exit_code = -1;
    std::string out, err;
};

// Runs velquino with `args` (each passed as one argument, no shell).
CliResult run_cli(const std::vector<std::string>& args);
// The words of `line` split at single spaces, for arguments that hold none.
std::vector<std::string> words(const std::string& line);

}  // namespace velq::test
