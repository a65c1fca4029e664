#include "app/video_export.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "app/batch_steps.h"
#include "app/document_animation.h"
#include "app/metadata.h"
#include "app/render_op.h"
#include "host/progress.h"
#include "image/picture_header.h"
#include "video/encoder.h"
#include "video/export_loop.h"
#include "video/fan_out_sink.h"
#include "video/gif_writer.h"
#include "video/pipelined_sink.h"

namespace velq {

namespace {

bool is_gif_name(const std::string& file) {
    if (file.size() < 4) return false;
    std::string ext = file.substr(file.size() - 4);
    for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
    return ext == ".gif";
}

constexpr SocialVariant kVariants[] = {
    {1920, 1080, "_youtube.3gpp"},
    {1920, 1080, "_youtube.webm"},
    {1920, 1080, "_youtube.mp4"},
    {1920, 1080, "_youtube.mov"},
    {1920, 1080, "_youtube.avi"},
    {1920, 1080, "_youtube.mpeg"},
    {1920, 1080, "_youtube.wmv"},
    {1920, 1080, "_youtube.flv"},
    {1080, 1080, "_facebook_instagram_twitter_square.mp4"},
    {1080, 1080, "_facebook_instagram_twitter_square.mov"},
    {720, 900, "_facebook_portrait.mp4"},
    {720, 900, "_facebook_portrait.mov"},
    {720, 1280, "_facebook_twitter_portrait.mp4"},
    {720, 1280, "_facebook_twitter_portrait.mov"},
    {1280, 720, "_facebook_twitter_landscape.mp4"},
    {1280, 720, "_facebook_twitter_landscape.mov"},
    // The two names differ on purpose.
    {1080, 1920, "_tiktok_instagram_wechat_portrait.mp4"},
    {1080, 1920, "_tiktok_instagram_portrait.mov"},
    {1080, 1350, "_instagram_feed.mp4"},
    {1080, 1350, "_instagram_feed.mov"},
    {640, 360, "_telegram.mp4"},
};

}  // namespace

std::span<const SocialVariant> social_media_variants() {
    return kVariants;
}

int render_anim_video(Document& doc, Host& host, const std::string& file, int pw, int ph, FitMode fit) {
    const FrameLayout layout = frame_layout(pw, ph, doc.settings.video_width, doc.settings.video_height, fit);
    DocumentAnimation animation(doc, host);
    {
        // Inside a batch run the bar moves with the frames, after a small share for the preparation.
        ProgressShare preparing(host, 0, 0.05);
        if (animation.prepare(pw, ph, "Failed to allocate buffers in render_anim_video") != 0) return -1;
    }
    ProgressShare writing(host, 0.05, 1);
    std::unique_ptr<VideoSink> sink;
    if (is_gif_name(file)) {
        sink = std::make_unique<GifWriter>(host);
    } else {
        sink = std::make_unique<Encoder>(host);
    }
    // The next frames are drawn while the encoder works on this one: up to four wait for it, so the
    // drawing can use every moment the encoder's threads leave idle.
    PipelinedSink pipeline(*sink);
    const int r = write_animation(host, pipeline, animation, file, layout, animation.duration());
    // The window keeps the last frame it was shown.
    doc.frame_buffer = std::move(animation.scene().display());
    return r;
}

std::vector<int> render_anim_videos(Document& doc, Host& host, std::span<const VideoFile> files, int pw,
                                    int ph, FitMode fit) {
    std::vector<int> results(files.size(), -1);
    if (files.empty()) return results;
    DocumentAnimation animation(doc, host);
    {
        ProgressShare preparing(host, 0, 0.05);
        if (animation.prepare(pw, ph, "Failed to allocate buffers in render_anim_video") != 0) return results;
    }
    ProgressShare writing(host, 0.05, 1);
    // Each encoder works on a thread of its own, two frames behind at most: the drawing and every
    // encoder share the cores, and the frames of all of them together stay within memory (the
    // drawing itself is kept once).
    std::vector<std::unique_ptr<Encoder>> encoders;
    std::vector<std::unique_ptr<PipelinedSink>> pipelines;
    std::vector<FanOutSink::Output> outputs;
    for (const VideoFile& f : files) {
        encoders.push_back(std::make_unique<Encoder>(host, Encoder::kSideBySideThreads));
        pipelines.push_back(std::make_unique<PipelinedSink>(*encoders.back(), 2));
        outputs.push_back({pipelines.back().get(), f.file, frame_layout(pw, ph, f.width, f.height, fit)});
    }
    FanOutSink fan(std::move(outputs));
    // The drawing reaches the fan-out as it is; the fan-out scales it for every file.
    const FrameLayout drawing{pw, ph, pw, ph, 0, 0};
    write_animation(host, fan, animation, files[0].file, drawing, animation.duration());
    for (std::size_t i = 0; i < files.size(); ++i) results[i] = fan.written(i) ? 0 : -1;
    doc.frame_buffer = std::move(animation.scene().display());
    return results;
}

int generate_sm_video(Document& doc, Host& host, std::span<const std::string> sources, FitMode fit,
                      const SocialRun& run) {
    namespace fs = std::filesystem;
    if (sources.empty()) return 0;
    const fs::path folder = social_media_folder(sources[0]);
    std::error_code ec;
    const bool folder_was_there = fs::is_directory(folder, ec);
    fs::create_directories(folder, ec);
    if (ec && !fs::is_directory(folder)) {
        host.message("Failed to create a folder in generate_sm_video()");
        return -1;
    }
    const bool any_readable = std::any_of(sources.begin(), sources.end(), readable_picture);
    const std::uint32_t seed = run.seed.value_or(doc.seeds.time_seed());
    const std::vector<BatchJob> jobs = social_jobs(sources, folder.string(), seed);
    BatchOptions options = run.batch;
    options.title = "Social media";
    options.journal = (folder / "batch.log").string();
    // A source without a settings block is reported and the run goes on with the next one.
    options.keep_going = true;
    ResultVideos videos(doc, host, fit, seed);
    const BatchTally tally =
        run_batch(host, jobs, options, share_frames,
                  [&](std::span<const BatchJob* const> group) { return videos.run(group); });
    if (run.tally) *run.tally = tally;
    if (!any_readable) host.message("Failed to read source");
    // A run that wrote nothing leaves no trace: the folder goes if this run made it.
    if (tally.written == 0 && tally.existing == 0 && !folder_was_there) fs::remove_all(folder, ec);
    return tally.written;
}

std::filesystem::path social_media_folder(const std::string& first_source) {
    return std::filesystem::path(first_source).parent_path() / "SocialMedia";
}

}  // namespace velq
