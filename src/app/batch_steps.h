// What each kind of batch job does, with the Document's operations: a picture opened, filtered,
// transformed, rendered and saved with its settings block; a saved result remade from its block; a
// result's animation written as a video. The runner (app/batch_runner.h) calls these per job.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/batch_runner.h"
#include "app/document.h"
#include "persistence/settings_block.h"
#include "video/frame_layout.h"

namespace velq {

// A file whose first bytes announce a picture of some size.
bool readable_picture(const std::string& path);

// Opens the job's input into a fresh Document and sets what the run renders with (the window's
// settings, or the tool's options). 0, or -1 after the message.
using PictureSetup = std::function<int(Document&, Host&, const BatchJob&)>;

// The window's settings and layers from a block over `path`, as Paste does on an opened picture.
int open_with_block(Document& doc, Host& host, const std::string& path, const SettingsBlock& block);

// An Image or Render job: setup, the job's filter (Image), its seed, filter, transform, render, save.
JobOutcome render_picture_job(Host& host, const BatchJob& job, const PictureSetup& setup);
// A Render job whose input carries its own settings: remade from them and saved.
JobOutcome remake_picture_job(Host& host, const BatchJob& job, const SettingsBlock& block);

// Video and Social jobs over results. With a run seed, each saved result is remade from its block into
// `doc` once (with that seed) and kept while its jobs run; without one, `doc` holds the result already
// (the window's) and gets its animation settings, video size and seeds back when this object goes.
// Every video draws with its job's seed.
class ResultVideos {
public:
    ResultVideos(Document& doc, Host& host, FitMode fit, std::optional<std::uint32_t> run_seed);
    ~ResultVideos();
    ResultVideos(const ResultVideos&) = delete;
    ResultVideos& operator=(const ResultVideos&) = delete;

    // Video: every shape layer gets the job's motion and scan order, at the video size. Social: the
    // variant's size.
    JobOutcome run(const BatchJob& job);
    // Jobs whose videos share their frames (see share_frames): drawn once, one outcome per job.
    std::vector<JobOutcome> run(std::span<const BatchJob* const> jobs);
    // The video size of Video jobs; the Document's own when not set.
    void set_video_size(int width, int height) { video_size_ = {width, height}; }

private:
    JobOutcome prepare(const std::string& result);
    Document& doc_;
    Host& host_;
    FitMode fit_;
    std::optional<std::uint32_t> run_seed_;
    std::string prepared_;  // the result the Document holds; empty when none
    bool failed_ = false;   // `prepared_` could not be made
    std::optional<std::pair<int, int>> video_size_;
    std::vector<AnimationSettings> saved_;
    int saved_width_ = 0, saved_height_ = 0;
    SeedSource saved_seeds_;
};

}  // namespace velq
