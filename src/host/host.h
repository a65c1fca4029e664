// How a long operation talks to whoever started it: the window, the command-line tool or a test.
// Operations never reach for a window or a global; they get a Host. Every call may come from the
// worker thread, so implementations marshal to their own thread as they need.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace velq {

// The window title at rest, and the prefix of every stage title.
inline constexpr std::string_view kAppName = "Velquinograph";

// "Getting brush size" -> "Velquinograph (Getting brush size...)".
std::string stage_title(std::string_view what);

class Host;
// `title` with the batch item the host is on, if any: "Velquinograph (Image cycling 3/8 NAME: Getting
// brush size...)", and "Velquinograph (Image cycling 3/8 NAME)" between stages.
std::string labelled_title(const Host& host, std::string_view title);

// One circle as the live view draws it while the packer runs: centre and radius in working pixels.
struct LiveCircle {
    double x = 0, y = 0, r = 0;
};

// The part of the bar the running stage fills while a driver runs several stages as one operation
// (see ProgressRun): from..to in percent of the whole bar, and the last value sent, below which the
// bar never goes back.
struct ProgressBand {
    bool on = false;
    double from = 0, to = 100;
    int sent = 0;
};

// What changed, so a view can redraw only what it needs.
enum class Refresh { View, Outlines, Result, Layers };

class Host {
public:
    virtual ~Host() = default;

    // The whole window title: stage_title(...) while a stage runs, kAppName when it ends.
    virtual void title(std::string_view text) = 0;
    // Progress bar, 0..100. Callers send only changes (see Progress).
    virtual void percent(int p) = 0;
    // A modal message in the system's own words, captioned "Velquinograph".
    virtual void message(std::string_view text) = 0;
    // A Yes/No question; true for Yes.
    virtual bool ask(std::string_view question) = 0;
    // Status line 1 or 2 under the picture.
    virtual void status(int line, std::string_view text) {}
    // Internal oddities that are no business of the user ("Too many retrying...").
    virtual void debug(std::string_view text);
    // The Document changed in a way the view shows; called from the worker, never blocks.
    virtual void refresh(Refresh what) {}
    // Circles accepted since the last call, for the live view of a running packer.
    virtual void circles_added(std::span<const LiveCircle> batch) {}
    // A finished frame or partial picture to show (BGRA rows); the callee copies what it keeps.
    virtual void preview(const std::uint8_t* bgra, int width, int height) {}
    // The worker entered (true) or left (false) the busy state: commands grey out, sleep is inhibited.
    virtual void busy(bool on) {}

    // Requested by Stop (and Skip); polled by every long loop.
    std::atomic<bool> stop{false};
    // Requested by Skip together with stop: leave the current item, go on with the next.
    std::atomic<bool> skip{false};

    bool stopped() const { return stop.load(std::memory_order_relaxed); }

    // Set by ProgressRun and ProgressShare on the worker thread; read by Progress.
    ProgressBand band;
    // The item a batch run is on ("Image cycling 3/8 NAME"), named in every title while it runs; set
    // on the worker thread.
    std::string item_label;
};

// A host that shows nothing and answers No: for library calls that need no feedback.
class QuietHost : public Host {
public:
    void title(std::string_view) override {}
    void percent(int) override {}
    void message(std::string_view) override {}
    bool ask(std::string_view) override { return false; }
};

}  // namespace velq
