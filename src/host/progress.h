// The progress convention of every long stage: the title names the stage while it runs, the bar
// gets trunc(i * 100 / n) only when that changes, and both are reset when the stage ends. A driver
// that runs several stages as one operation opens a ProgressRun and gives each stage its share of
// the bar (ProgressShare): the bar then moves forward only, across all stages, and ends at 100.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/host.h"

namespace velq {

class Progress {
public:
    // Sets the title to stage_title(what) (or `full_title` as given when `raw` is set) and the bar to 0.
    Progress(Host& host, std::string_view what);
    struct Raw {};
    Progress(Host& host, std::string_view full_title, Raw);
    // Title back to "Velquinograph", bar to 0 (inside a run: to the end of the stage's share, unless
    // stopped).
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Percent trunc(i * 100 / n), sent only when it differs from the last one sent.
    void update(std::int64_t i, std::int64_t n);
    // A percent computed by the caller, sent only when it changed.
    void set(int p);
    // Replaces the title while the stage runs.
    void retitle(std::string_view full_title);

    Host& host() { return host_; }
    bool stopped() const { return host_.stopped(); }

private:
    Host& host_;
    int last_ = 0;
};

// Sends `p` percent of the current share of the bar (the whole bar outside a run), never less than
// what a run already sent.
void send_progress(Host& host, double p);

// One bar over a whole operation. Sends 0 when it starts the bar; finish() sends 100. Inside another
// run it is simply a share of all of the enclosing one. Lives on the worker thread.
class ProgressRun {
public:
    explicit ProgressRun(Host& host);
    // Stages report on their own again (or within the enclosing run); the bar stays where it is.
    ~ProgressRun();
    ProgressRun(const ProgressRun&) = delete;
    ProgressRun& operator=(const ProgressRun&) = delete;

    void finish();

private:
    Host& host_;
    ProgressBand saved_;
};

// Gives the stages within its scope the fractions from..to (0..1) of the enclosing share; outside a
// run it does nothing. On leaving, the bar is at the share's end unless the operation was stopped.
class ProgressShare {
public:
    ProgressShare(Host& host, double from, double to);
    ~ProgressShare();
    ProgressShare(const ProgressShare&) = delete;
    ProgressShare& operator=(const ProgressShare&) = delete;

private:
    Host& host_;
    ProgressBand saved_;
};

}  // namespace velq
