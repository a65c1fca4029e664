// The jobs of a batch run: image cycling (one picture, one output per chosen filter), animation
// cycling (one result, one video per chosen motion and scan order), a folder render (every picture
// of some folders) and the social-media set. A job has a stable name (its output path under the
// output folder) and a seed derived from the run's seed and that name, so it makes the same bytes on
// any machine and in any shard.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velq {

enum class BatchKind { Image, Video, Render, Social };

struct BatchJob {
    BatchKind kind = BatchKind::Image;
    std::string name;    // unique within the run; the output's path relative to the output folder
    std::string input;   // the picture or result the job reads
    std::string output;  // the file it writes
    int filter = 0;      // Image: filter kind 1..8
    int motion = 0;      // Video: motion kind 0..4
    int scan = 0;        // Video: scan order 0..7
    int variant = -1;    // Social: index into the social-media set
    std::uint32_t seed = 0;

    bool operator==(const BatchJob&) const = default;
};

// The 21 cycling selections: motions 0-4, scan orders 0-7, filter kinds 1-8.
using CyclingSelections = std::array<bool, 21>;
inline constexpr int kCyclingMotions = 5, kCyclingScans = 8, kCyclingFilters = 8;
inline constexpr int kCyclingScanAt = 5, kCyclingFilterAt = 13;

// SplitMix64 of the run seed xor the FNV-1a hash of the name, cut to 32 bits: fixed on every
// platform, unlike std::hash.
std::uint32_t job_seed(std::uint32_t run_seed, std::string_view name);

// Which jobs a process runs: those whose index i has i mod n == k. Round robin mixes long and short
// jobs in every shard.
struct Shard {
    int k = 0, n = 1;
    bool takes(std::size_t index) const { return int(index % std::size_t(n)) == k; }
};
// "K/N" with 0 <= K < N; false otherwise.
bool parse_shard(std::string_view text, Shard& shard);

// Name fragments: "matrix", "snow", "circular-out".
std::string filter_slug(int kind);
std::string motion_slug(int motion);
std::string scan_slug(int scan);

// One PNG per chosen filter: DIR/STEM-fK-NAME.png.
std::vector<BatchJob> image_cycling_jobs(const std::string& input, const CyclingSelections& chosen,
                                         const std::string& dir, std::uint32_t run_seed);
// One video per chosen (motion, scan order) pair, motions outermost: DIR/STEM-mI-NAME-sJ-NAME.EXT.
std::vector<BatchJob> animation_cycling_jobs(const std::string& result, const CyclingSelections& chosen,
                                             const std::string& dir, const std::string& ext,
                                             std::uint32_t run_seed);
// Every file with a picture extension in `dirs` (and their subfolders with `recursive`), in name
// order, mirrored under DIR (under DIR/FOLDER when several folders are given). Pictures that cannot
// be written as they are (.tif, .webp, ...) get ".png" added.
std::vector<BatchJob> folder_jobs(std::span<const std::string> dirs, bool recursive, const std::string& dir,
                                  std::uint32_t run_seed);
// The social-media set of each source, in the set's order, into DIR. The set is one animation in
// many sizes and containers: every variant takes the seed of the source's stem (not of its own name),
// so a run draws each frame once for all of them and a variant run alone draws the same.
std::vector<BatchJob> social_jobs(std::span<const std::string> sources, const std::string& dir,
                                  std::uint32_t run_seed);

// True when `b` can be made from the very frames drawn for `a`: social variants of one source with
// one seed.
bool share_frames(const BatchJob& a, const BatchJob& b);

}  // namespace velq
