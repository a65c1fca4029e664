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

std::string labelled_title(const Host& host, std::string_view title) {
    if (host.item_label.empty()) return std::string(title);
    const std::string open = std::string(kAppName) + " (";
    if (title == kAppName) return open + host.item_label + ")";
    if (title.starts_with(open))
        return open + host.item_label + ": " + std::string(title.substr(open.size()));
    return host.item_label + " " + std::string(title);
}

void Host::debug(std::string_view text) {
    if (std::getenv("VELQUINO_DEBUG")) std::fprintf(stderr, "%.*s", int(text.size()), text.data());
}

Progress::Progress(Host& host, std::string_view what) : Progress(host, stage_title(what), Raw{}) {}

void send_progress(Host& host, double p) {
    ProgressBand& b = host.band;
    if (!b.on) {
        host.percent(int(p));
        return;
    }
    const int v = int(b.from + p * (b.to - b.from) / 100.0);
    if (v <= b.sent) return;
    b.sent = v;
    host.percent(v);
}

Progress::Progress(Host& host, std::string_view full_title, Raw) : host_(host) {
    host_.title(labelled_title(host_, full_title));
    send_progress(host_, 0);
}

Progress::~Progress() {
    host_.title(labelled_title(host_, kAppName));
    if (!host_.band.on)
        host_.percent(0);
    else if (!host_.stopped())
        send_progress(host_, 100);
}

void Progress::update(std::int64_t i, std::int64_t n) {
    if (n <= 0) return;
    set(static_cast<int>(i * 100 / n));
}

void Progress::set(int p) {
    if (p == last_) return;
    last_ = p;
    send_progress(host_, p);
}

void Progress::retitle(std::string_view full_title) {
    host_.title(labelled_title(host_, full_title));
}

ProgressRun::ProgressRun(Host& host) : host_(host), saved_(host.band) {
    if (saved_.on) return;
    host_.band = ProgressBand{true, 0, 100, 0};
    host_.percent(0);
}

ProgressRun::~ProgressRun() {
    if (!saved_.on) host_.band = saved_;
}

void ProgressRun::finish() {
    send_progress(host_, 100);
}

ProgressShare::ProgressShare(Host& host, double from, double to) : host_(host), saved_(host.band) {
    if (!saved_.on) return;
    const double span = saved_.to - saved_.from;
    host_.band.from = saved_.from + from * span;
    host_.band.to = saved_.from + to * span;
}

ProgressShare::~ProgressShare() {
    if (!saved_.on) return;
    if (!host_.stopped()) send_progress(host_, 100);
    const int sent = host_.band.sent;
    host_.band = saved_;
    host_.band.sent = sent;
}

}  // namespace velq
