// Export to a video (or a GIF, for a name ending in ".gif"): the Document's animation at 30 frames a
// second at the video size of the Settings, in a fit mode; and the social-media set, a series of
// videos per source picture in the sizes that popular services expect.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/batch_runner.h"
#include "app/document.h"
#include "video/frame_layout.h"

namespace velq {

// Renders the animation at pw x ph and writes it to `file`. 0 when a file was written (also after
// Stop), -1 otherwise, after the system's message.
int render_anim_video(Document& doc, Host& host, const std::string& file, int pw, int ph, FitMode fit);

// A video file and its video size setting.
struct VideoFile {
    std::string file;
    int width, height;
};
// The same animation written to several video files (containers, not GIFs) of any sizes at once:
// each frame drawn once at pw x ph and placed into every file's frame by the fit. One result per
// file: 0 written, -1 not (a file that failed is absent).
std::vector<int> render_anim_videos(Document& doc, Host& host, std::span<const VideoFile> files, int pw,
                                    int ph, FitMode fit);

struct SocialVariant {
    int width, height;
    const char* suffix;
};
// The social-media set in its order.
std::span<const SocialVariant> social_media_variants();

// How a social-media export runs: which shard, whether complete videos are kept, and the run seed
// (the Document's seed source when absent).
struct SocialRun {
    BatchOptions batch;
    std::optional<std::uint32_t> seed;
    BatchTally* tally = nullptr;  // filled in when given
};

// The social-media export: for every source picture that carries a settings block, the result is
// made again from the block and written as every variant into "SocialMedia" beside the first source,
// each variant a job of a batch run (journal SocialMedia/batch.log). The variants of one source that
// the run takes are one item of the run: each frame is drawn once, at the result's render size, and
// placed into all of their frames. Returns the number of videos written, or -1 when the folder could
// not be made; a run that writes nothing takes away the folder it made.
int generate_sm_video(Document& doc, Host& host, std::span<const std::string> sources, FitMode fit,
                      const SocialRun& run = {});
// "SocialMedia" beside the first source.
std::filesystem::path social_media_folder(const std::string& first_source);

}  // namespace velq
