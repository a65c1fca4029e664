#include "app/batch_steps.h"

#include <fstream>
#include <vector>

#include "app/filter_and_transform.h"
#include "app/metadata.h"
#include "app/open_picture.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "app/video_export.h"
#include "image/file_types.h"
#include "image/picture_header.h"

namespace velq {

namespace {

// The Save entry of the output's extension (2 jpg, 3 png, 4 bmp).
int save_entry(const std::string& path) {
    const std::string ext = file_extension(path);
    return ext == "jpg" ? 2 : ext == "bmp" ? 4 : 3;
}

JobOutcome failed(std::string note) {
    return {JobStatus::Failed, std::move(note)};
}

JobOutcome render_and_save(Document& doc, Host& host, const BatchJob& job) {
    int w = 0, h = 0;
    render_size(doc, w, h);
    if (generate_shaped_image(doc, host, w, h) != 0) return failed("render failed");
    if (host.stopped()) return {JobStatus::Stopped, {}};
    if (save_result(doc, host, job.output, save_entry(job.output)) != 0) return failed("not written");
    return {};
}

}  // namespace

bool readable_picture(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::vector<std::uint8_t> head(1 << 16);
    in.read(reinterpret_cast<char*>(head.data()), std::streamsize(head.size()));
    head.resize(std::size_t(in.gcount()));
    return read_picture_header(head).sized();
}

int open_with_block(Document& doc, Host& host, const std::string& path, const SettingsBlock& block) {
    if (open_picture(doc, host, path) != 0) return -1;
    apply_block_settings(doc, block.settings);
    if (apply_block_layers(doc, host, block) != 0) return -1;
    return apply_block_logo(doc, host, block.settings);
}

JobOutcome render_picture_job(Host& host, const BatchJob& job, const PictureSetup& setup) {
    if (!readable_picture(job.input)) return {JobStatus::Unreadable, "not a readable picture"};
    Document doc(host);
    if (setup(doc, host, job) != 0) return failed("could not be opened");
    doc.seeds.fix(job.seed);
    if (job.kind == BatchKind::Image) doc.settings.filter_kind = job.filter;
    if (filter_and_transform(doc, host) != 0) return failed("filter or transform failed");
    if (host.stopped()) return {JobStatus::Stopped, {}};
    return render_and_save(doc, host, job);
}

JobOutcome remake_picture_job(Host& host, const BatchJob& job, const SettingsBlock& block) {
    Document doc(host);
    doc.seeds.fix(job.seed);
    if (remake_from_block(doc, host, block, job.input) != 0) {
        if (host.stopped()) return {JobStatus::Stopped, {}};
        return failed("could not be remade from its settings");
    }
    if (save_result(doc, host, job.output, save_entry(job.output)) != 0) return failed("not written");
    return {};
}

ResultVideos::ResultVideos(Document& doc, Host& host, FitMode fit, std::optional<std::uint32_t> run_seed)
    : doc_(doc), host_(host), fit_(fit), run_seed_(run_seed) {
    if (run_seed_) return;
    for (const Layer& l : doc.layers) saved_.push_back(l.anim);
    saved_width_ = doc.settings.video_width;
    saved_height_ = doc.settings.video_height;
    saved_seeds_ = doc.seeds;
}

ResultVideos::~ResultVideos() {
    if (run_seed_) return;
    for (std::size_t i = 0; i < saved_.size() && i < doc_.layers.size(); ++i) doc_.layers[i].anim = saved_[i];
    doc_.settings.video_width = saved_width_;
    doc_.settings.video_height = saved_height_;
    doc_.seeds = saved_seeds_;
}

JobOutcome ResultVideos::prepare(const std::string& result) {
    if (result == prepared_) return failed_ ? failed("the result could not be remade") : JobOutcome{};
    prepared_ = result;
    failed_ = true;
    if (!readable_picture(result)) return {JobStatus::Unreadable, "not a readable picture"};
    SettingsBlock block;
    if (!read_metadata_block(host_, result, block)) {
        host_.message("Unable to find a metadata in " + result);
        return failed("no settings block");
    }
    doc_.seeds.fix(*run_seed_);
    doc_.settings.min_size = 0.0005;
    if (remake_from_block(doc_, host_, block) != 0) return failed("the result could not be remade");
    failed_ = false;
    return {};
}

std::vector<JobOutcome> ResultVideos::run(std::span<const BatchJob* const> jobs) {
    if (jobs.empty()) return {};
    const BatchJob& first = *jobs[0];
    if (first.kind != BatchKind::Social) return {run(first)};
    if (run_seed_) {
        JobOutcome made = prepare(first.input);
        if (made.status != JobStatus::Written) return std::vector(jobs.size(), made);
    }
    // Drawn at the result's render size, which no variant changes, with the set's seed: a variant
    // alone is made exactly as in the whole set.
    doc_.seeds.fix(first.seed);
    int pw = 0, ph = 0;
    render_size(doc_, pw, ph);
    std::vector<VideoFile> files;
    for (const BatchJob* j : jobs) {
        const SocialVariant& v = social_media_variants()[std::size_t(j->variant)];
        files.push_back({j->output, v.width, v.height});
    }
    const std::vector<int> written = render_anim_videos(doc_, host_, files, pw, ph, fit_);
    std::vector<JobOutcome> out;
    for (int r : written) out.push_back(r == 0 ? JobOutcome{} : failed("no video written"));
    return out;
}

JobOutcome ResultVideos::run(const BatchJob& job) {
    if (run_seed_) {
        JobOutcome made = prepare(job.input);
        if (made.status != JobStatus::Written) return made;
    }
    if (job.kind == BatchKind::Social) {
        const BatchJob* one[] = {&job};
        return run(one)[0];
    }
    Document& doc = doc_;
    if (video_size_) {
        doc.settings.video_width = video_size_->first;
        doc.settings.video_height = video_size_->second;
    }
    for (std::size_t i = 1; i < doc.layers.size(); ++i) {
        doc.layers[i].anim.motion = job.motion;
        doc.layers[i].anim.scan = job.scan;
    }
    doc.seeds.fix(job.seed);
    int pw = 0, ph = 0;
    render_size(doc, pw, ph);
    if (render_anim_video(doc, host_, job.output, pw, ph, fit_) != 0) return failed("no video written");
    return {};
}

}  // namespace velq
