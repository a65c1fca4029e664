// The tool's host: messages as "Velquinograph: text" on stderr, one progress line on stderr when it
// is a terminal, no questions (the tool never waits for an answer). While it lives, the first Ctrl+C
// is the window's Stop: the running operation ends early and says so; a second one ends the tool.
#pragma once

#include <string>

#include "host/host.h"

namespace velq::cli {

class CliHost : public Host {
public:
    explicit CliHost(bool quiet);
    ~CliHost() override;

    void title(std::string_view text) override;
    void percent(int p) override;
    void message(std::string_view text) override;
    bool ask(std::string_view question) override;
    void status(int line, std::string_view text) override {}

    // True once any message was shown: a failing operation explains itself this way.
    bool said_something() const { return said_; }

private:
    void draw();
    void clear_line();
    bool quiet_;
    bool tty_;
    bool line_shown_ = false;
    bool said_ = false;
    std::string stage_;
    int percent_ = 0;
};

}  // namespace velq::cli
