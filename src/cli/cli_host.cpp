#include "cli/cli_host.h"

#include <cstdio>

#include <unistd.h>

namespace velq::cli {

CliHost::CliHost(bool quiet) : quiet_(quiet), tty_(::isatty(STDERR_FILENO) == 1) {}

CliHost::~CliHost() {
    clear_line();
}

void CliHost::title(std::string_view text) {
    if (text == kAppName) {
        stage_.clear();
        clear_line();
        return;
    }
    stage_ = std::string(text);
    percent_ = 0;
    draw();
}

void CliHost::percent(int p) {
    percent_ = p;
    draw();
}

void CliHost::message(std::string_view text) {
    said_ = true;
    clear_line();
    std::fprintf(stderr, "%.*s: %.*s\n", int(kAppName.size()), kAppName.data(), int(text.size()),
                 text.data());
    draw();
}

bool CliHost::ask(std::string_view question) {
    return false;
}

void CliHost::draw() {
    if (quiet_ || !tty_ || stage_.empty()) return;
    std::fprintf(stderr, "\r\033[K%s %3d%%", stage_.c_str(), percent_);
    std::fflush(stderr);
    line_shown_ = true;
}

void CliHost::clear_line() {
    if (!line_shown_) return;
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
    line_shown_ = false;
}

}  // namespace velq::cli
