// The progress convention of every long stage: the title names the stage while it runs, the bar
// gets trunc(i * 100 / n) only when that changes, and both are reset when the stage ends.
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
    // Title back to "Velquinograph", bar to 0.
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

}  // namespace velq
