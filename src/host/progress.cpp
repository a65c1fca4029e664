#include "host/progress.h"

#include <cstdio>
#include <cstdlib>

namespace velq {

std::string stage_title(std::string_view what) {
    std::string t(kAppName);
    t += " (";
    t += what;
    t += "...)";
    return t;
}

void Host::debug(std::string_view text) {
    if (std::getenv("VELQUINO_DEBUG")) std::fprintf(stderr, "%.*s", int(text.size()), text.data());
}

Progress::Progress(Host& host, std::string_view what) : Progress(host, stage_title(what), Raw{}) {}

Progress::Progress(Host& host, std::string_view full_title, Raw) : host_(host) {
    host_.title(full_title);
    host_.percent(0);
}

Progress::~Progress() {
    host_.title(kAppName);
    host_.percent(0);
}

void Progress::update(std::int64_t i, std::int64_t n) {
    if (n <= 0) return;
    set(static_cast<int>(i * 100 / n));
}

void Progress::set(int p) {
    if (p == last_) return;
    last_ = p;
    host_.percent(p);
}

void Progress::retitle(std::string_view full_title) {
    host_.title(full_title);
}

}  // namespace velq
