// The batch subcommands: velquino cycle (one picture, one result per filter), cycle-video (one saved
// result, one video per motion and scan order) and render-dir (every picture of some folders). Each
// plans its jobs, then prints them (--list) or runs its shard of them.
#include <memory>

#include "app/batch_steps.h"
#include "app/metadata.h"
#include "app/open_picture.h"
#include "cli/batch_options.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "image/file_types.h"
#include "render/animation_settings.h"

namespace velq::cli {

namespace {

// The options of `render` that a picture job applies: picture, transform and output.
struct RenderArgs {
    PictureOptions picture;
    TransformOptions transform;
    OutputOptions out;
};

void add_render_options(CLI::App& cmd, RenderArgs& r) {
    add_picture_options(cmd, r.picture);
    add_transform_options(cmd, r.transform);
    add_output_options(cmd, r.out);
    cmd.get_option("--seed")->description("seed of the run (default 0, so that shards on any machine agree)");
}

// Every run of every job starts from the same seed unless --seed says otherwise, so shards on
// different machines agree.
std::uint32_t run_seed(const RenderArgs& r) {
    return r.picture.seed.value_or(0);
}

// The line's options over a fresh Document with the job's picture open; the seed is the job's own.
PictureSetup setup_from(const RenderArgs& r) {
    PictureOptions picture = r.picture;
    picture.seed.reset();
    return [picture, r](Document& doc, Host& host, const BatchJob& job) {
        usage_check(apply_picture_options(picture, doc));
        usage_check(apply_transform_options(r.transform, doc));
        if (open_picture(doc, host, job.input) != 0) return -1;
        // Open writes Min again, so a Min given on the line goes back in after it.
        if (r.transform.min_size) doc.settings.min_size = *r.transform.min_size;
        usage_check(apply_output_options(r.out, doc, host));
        return 0;
    };
}

// The stored cycling selections of a saved result, or all of them.
CyclingSelections stored_selections(const std::string& path) {
    CyclingSelections chosen;
    chosen.fill(true);
    QuietHost quiet;
    SettingsBlock block;
    if (file_exists(path) && read_metadata_block(quiet, path, block))
        for (std::size_t i = 0; i < chosen.size(); ++i) chosen[i] = block.settings.cycling[i] != 0;
    return chosen;
}

int filter_selection_index(std::string_view name) {
    const auto kind = filter_kind_from_name(std::string(name));
    if (kind) return *kind - 1;
    return name.size() == 1 && name[0] >= '1' && name[0] <= '8' ? name[0] - '1' : -1;
}

}  // namespace

void add_cycle_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, dir;
        std::optional<std::string> filters;
        RenderArgs render;
        BatchArgs batch;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("cycle", "render one picture once for every chosen filter");
    cmd->add_option("INPUT", args->input, "picture to render")->required();
    cmd->add_option("-o,--output", args->dir, "folder for the results (INPUT-fK-FILTER.png)")->required();
    cmd->add_option("--filters", args->filters,
                    "filters by name or number 1-8, comma separated, or all (default: INPUT's stored "
                    "selections, else all)");
    add_render_options(*cmd, args->render);
    add_batch_options(*cmd, args->batch);
    cmd->callback([args, &exit_code] {
        CyclingSelections chosen = stored_selections(args->input);
        if (args->filters)
            usage_check(parse_selection(*args->filters, kCyclingFilterAt, kCyclingFilters,
                                        filter_selection_index, chosen)
                            ? ""
                            : "--filters takes filter names or numbers 1-8, or all");
        const std::uint32_t seed = run_seed(args->render);
        const auto jobs = image_cycling_jobs(args->input, chosen, args->dir, seed);
        CliHost host(args->render.picture.quiet);
        BatchOptions options;
        options.title = "Image cycling";
        options.journal = args->dir + "/batch.log";
        const PictureSetup setup = setup_from(args->render);
        exit_code = list_or_run(jobs, args->batch, seed, host, options,
                                [&](const BatchJob& job) { return render_picture_job(host, job, setup); });
    });
}

void add_cycle_video_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string result, dir, ext = "mp4";
        VideoFrameArgs frame;
        std::optional<std::string> motions, scans;
        std::uint32_t seed = 0;
        bool quiet = false;
        BatchArgs batch;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("cycle-video",
                                       "write one saved result's animation once for every chosen "
                                       "motion and scan order");
    cmd->add_option("RESULT", args->result, "saved result (a picture carrying its settings)")->required();
    cmd->add_option("-o,--output", args->dir, "folder for the videos (RESULT-mI-MOTION-sJ-SCAN.EXT)")
        ->required();
    cmd->add_option(
        "--motions", args->motions,
        "motions by name or number 0-4, comma separated, or all (default: the stored selections)");
    cmd->add_option(
        "--scans", args->scans,
        "scan orders by name or number 0-7, comma separated, or all (default: the stored selections)");
    add_video_frame_options(*cmd, args->frame);
    cmd->add_option("--ext", args->ext,
                    "container of every video: mp4 (default), mov, avi, webm, ..., or gif");
    cmd->add_option("--seed", args->seed, "seed of the run (default 0)");
    cmd->add_flag("--quiet", args->quiet, "no progress line");
    add_batch_options(*cmd, args->batch);
    cmd->callback([args, &exit_code] {
        const VideoFrame frame = video_frame_of(args->frame);
        usage_check(is_video("x." + args->ext) || args->ext == "gif" ? ""
                                                                     : "--ext needs a video type or gif");
        CyclingSelections chosen = stored_selections(args->result);
        if (args->motions)
            usage_check(parse_selection(*args->motions, 0, kCyclingMotions, motion_index, chosen)
                            ? ""
                            : "--motions takes motion names or numbers 0-4, or all");
        if (args->scans)
            usage_check(parse_selection(*args->scans, kCyclingScanAt, kCyclingScans, scan_index, chosen)
                            ? ""
                            : "--scans takes scan order names or numbers 0-7, or all");
        const auto jobs = animation_cycling_jobs(args->result, chosen, args->dir, args->ext, args->seed);
        CliHost host(args->quiet);
        Document doc(host);
        ResultVideos videos(doc, host, frame.fit, args->seed);
        videos.set_video_size(frame.width, frame.height);
        BatchOptions options;
        options.title = "Cycling";
        options.journal = args->dir + "/batch.log";
        exit_code = list_or_run(jobs, args->batch, args->seed, host, options,
                                [&](const BatchJob& job) { return videos.run(job); });
    });
}

void add_render_dir_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::vector<std::string> dirs;
        std::string out;
        bool recursive = false, own_settings = false;
        RenderArgs render;
        BatchArgs batch;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd =
        app.add_subcommand("render-dir", "render every picture of some folders into a mirrored tree");
    cmd->add_option("DIR", args->dirs, "folders of pictures")->required();
    cmd->add_option("-o,--output", args->out, "folder for the results")->required();
    cmd->add_flag("--recursive", args->recursive, "take the pictures of subfolders as well");
    cmd->add_flag("--own-settings", args->own_settings,
                  "remake a picture that carries its settings from them instead of the line's options");
    add_render_options(*cmd, args->render);
    add_batch_options(*cmd, args->batch);
    cmd->callback([args, &exit_code] {
        const std::uint32_t seed = run_seed(args->render);
        const auto jobs = folder_jobs(args->dirs, args->recursive, args->out, seed);
        CliHost host(args->render.picture.quiet);
        BatchOptions options;
        options.title = "ROI render";
        options.journal = args->out + "/batch.log";
        const PictureSetup setup = setup_from(args->render);
        const bool own = args->own_settings;
        exit_code = list_or_run(jobs, args->batch, seed, host, options, [&](const BatchJob& job) {
            SettingsBlock block;
            QuietHost quiet;
            if (own && readable_picture(job.input) && read_metadata_block(quiet, job.input, block))
                return remake_picture_job(host, job, block);
            return render_picture_job(host, job, setup);
        });
    });
}

}  // namespace velq::cli
