#include "app/batch_job.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <system_error>

#include "app/video_export.h"
#include "filters/filter.h"
#include "image/file_types.h"
#include "render/animation_settings.h"

namespace velq {

namespace fs = std::filesystem;

namespace {

std::string slug(std::string_view text) {
    std::string s;
    for (char c : text) s += c == ' ' ? '-' : char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string stem_of(const std::string& path) {
    return fs::path(path).stem().string();
}

BatchJob job(BatchKind kind, const std::string& input, const std::string& dir, std::string name,
             std::uint32_t run_seed) {
    BatchJob j;
    j.kind = kind;
    j.input = input;
    j.output = (fs::path(dir) / name).string();
    j.seed = job_seed(run_seed, name);
    j.name = std::move(name);
    return j;
}

bool is_picture_name(const fs::path& p) {
    static constexpr std::string_view kTypes[] = {"bmp", "jpg", "png", "tif", "tiff", "webp", "jfif"};
    const std::string ext = file_extension(p.string());
    return std::find(std::begin(kTypes), std::end(kTypes), ext) != std::end(kTypes);
}

// Files of one folder tree in name order, relative to it.
std::vector<fs::path> pictures_in(const fs::path& root, bool recursive) {
    std::vector<fs::path> found;
    std::error_code ec;
    auto take = [&](const fs::directory_entry& e) {
        if (e.is_regular_file(ec) && is_picture_name(e.path()))
            found.push_back(e.path().lexically_relative(root));
    };
    if (recursive) {
        for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec))
            take(*it);
    } else {
        for (fs::directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) take(*it);
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

std::uint32_t job_seed(std::uint32_t run_seed, std::string_view name) {
    std::uint64_t h = 0xcbf29ce484222325ull;
    for (unsigned char c : name) h = (h ^ c) * 0x100000001b3ull;
    std::uint64_t z = (std::uint64_t(run_seed) ^ h) + 0x9e3779b97f4a7c15ull;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return std::uint32_t(z ^ (z >> 31));
}

bool parse_shard(std::string_view text, Shard& shard) {
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) return false;
    int k = -1, n = 0;
    const char* b = text.data();
    const auto [p1, e1] = std::from_chars(b, b + slash, k);
    const auto [p2, e2] = std::from_chars(b + slash + 1, b + text.size(), n);
    if (e1 != std::errc() || p1 != b + slash || e2 != std::errc() || p2 != b + text.size()) return false;
    if (n < 1 || k < 0 || k >= n) return false;
    shard = {k, n};
    return true;
}

std::string filter_slug(int kind) {
    return std::string(filter_cli_name(FilterKind(kind)));
}
std::string motion_slug(int motion) {
    return slug(kMotionNames[std::size_t(motion)]);
}
std::string scan_slug(int scan) {
    return slug(kScanNames[std::size_t(scan)]);
}

std::vector<BatchJob> image_cycling_jobs(const std::string& input, const CyclingSelections& chosen,
                                         const std::string& dir, std::uint32_t run_seed) {
    std::vector<BatchJob> jobs;
    const std::string stem = stem_of(input);
    for (int f = 1; f <= kCyclingFilters; ++f) {
        if (!chosen[std::size_t(kCyclingFilterAt + f - 1)] || !filter_available(FilterKind(f))) continue;
        BatchJob j = job(BatchKind::Image, input, dir,
                         stem + "-f" + std::to_string(f) + "-" + filter_slug(f) + ".png", run_seed);
        j.filter = f;
        jobs.push_back(std::move(j));
    }
    return jobs;
}

std::vector<BatchJob> animation_cycling_jobs(const std::string& result, const CyclingSelections& chosen,
                                             const std::string& dir, const std::string& ext,
                                             std::uint32_t run_seed) {
    std::vector<BatchJob> jobs;
    const std::string stem = stem_of(result);
    for (int m = 0; m < kCyclingMotions; ++m) {
        if (!chosen[std::size_t(m)]) continue;
        for (int s = 0; s < kCyclingScans; ++s) {
            if (!chosen[std::size_t(kCyclingScanAt + s)]) continue;
            BatchJob j = job(BatchKind::Video, result, dir,
                             stem + "-m" + std::to_string(m) + "-" + motion_slug(m) + "-s" +
                                 std::to_string(s) + "-" + scan_slug(s) + "." + ext,
                             run_seed);
            j.motion = m;
            j.scan = s;
            jobs.push_back(std::move(j));
        }
    }
    return jobs;
}

std::vector<BatchJob> folder_jobs(std::span<const std::string> dirs, bool recursive, const std::string& dir,
                                  std::uint32_t run_seed) {
    std::vector<BatchJob> jobs;
    std::vector<std::string> names;
    for (const std::string& d : dirs) {
        const fs::path root = fs::path(d).lexically_normal();
        // Several folders keep their own names under the output folder; a repeated one gets "-2", ...
        fs::path top;
        if (dirs.size() > 1) {
            std::string base = (root.has_filename() ? root : root.parent_path()).filename().string();
            std::string unique = base;
            for (int i = 2; std::find(names.begin(), names.end(), unique) != names.end(); ++i)
                unique = base + "-" + std::to_string(i);
            names.push_back(unique);
            top = unique;
        }
        for (const fs::path& rel : pictures_in(root, recursive)) {
            std::string name = (top / rel).generic_string();
            const std::string ext = file_extension(name);
            if (ext != "png" && ext != "jpg" && ext != "bmp") name += ".png";
            jobs.push_back(job(BatchKind::Render, (root / rel).string(), dir, std::move(name), run_seed));
        }
    }
    return jobs;
}

std::vector<BatchJob> social_jobs(std::span<const std::string> sources, const std::string& dir,
                                  std::uint32_t run_seed) {
    std::vector<BatchJob> jobs;
    const auto variants = social_media_variants();
    for (const std::string& source : sources) {
        const std::string stem = stem_of(source);
        for (std::size_t v = 0; v < variants.size(); ++v) {
            BatchJob j = job(BatchKind::Social, source, dir, stem + variants[v].suffix, run_seed);
            j.variant = int(v);
            j.seed = job_seed(run_seed, stem);
            jobs.push_back(std::move(j));
        }
    }
    return jobs;
}

bool share_frames(const BatchJob& a, const BatchJob& b) {
    return a.kind == BatchKind::Social && b.kind == BatchKind::Social && a.input == b.input &&
           a.seed == b.seed;
}

}  // namespace velq
