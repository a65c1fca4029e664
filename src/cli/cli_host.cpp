#include "cli/cli_host.h"

#include <atomic>
#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace velq::cli {

namespace {

// The stop flag of the host that is alive, for the interrupt handler.
std::atomic<std::atomic<bool>*> g_stop{nullptr};

extern "C" void on_interrupt(int) {
    std::atomic<bool>* stop = g_stop.load();
    if (stop == nullptr || stop->load()) {
        std::signal(SIGINT, SIG_DFL);
        std::raise(SIGINT);
        return;
    }
    stop->store(true);
}

}  // namespace

CliHost::CliHost(bool quiet) : quiet_(quiet), tty_(::isatty(STDERR_FILENO) == 1) {
    g_stop.store(&stop);
    std::signal(SIGINT, on_interrupt);
}

CliHost::~CliHost() {
    std::signal(SIGINT, SIG_DFL);
    g_stop.store(nullptr);
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
