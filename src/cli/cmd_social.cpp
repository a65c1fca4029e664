// velquino social RESULT...: the social-media set of videos of saved results, in SocialMedia/ beside
// the first one.
#include <cstdio>
#include <memory>
#include <vector>

#include "app/batch_job.h"
#include "app/video_export.h"
#include "cli/batch_options.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/pipeline.h"

namespace velq::cli {

void add_social_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::vector<std::string> inputs;
        std::string fit = "fit";
        bool quiet = false;
        std::uint32_t seed = 0;
        BatchArgs batch;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("social", "write the social-media set of videos of saved results");
    cmd->add_option("INPUT", args->inputs, "saved results (pictures carrying their settings)")->required();
    cmd->add_option("--fit", args->fit, "fit (default) or stretch");
    cmd->add_flag("--quiet", args->quiet, "no progress line");
    cmd->add_option("--seed", args->seed, "seed of the run (default 0)");
    add_batch_options(*cmd, args->batch);
    cmd->callback([args, &exit_code] {
        const auto fit = fit_mode_from_name(args->fit);
        usage_check(fit && *fit != FitMode::None ? ""
                                                 : "--fit needs fit or stretch, not '" + args->fit + "'");
        const auto jobs =
            social_jobs(args->inputs, social_media_folder(args->inputs[0]).string(), args->seed);
        const BatchOptions line = batch_options(args->batch, jobs);
        if (args->batch.list) {
            QuietHost quiet;
            exit_code = list_or_run(jobs, args->batch, args->seed, quiet, line, {});
            return;
        }
        CliHost host(args->quiet);
        Document doc(host);
        BatchTally tally;
        generate_sm_video(doc, host, args->inputs, *fit, SocialRun{line, args->seed, &tally});
        // A source without a settings block is reported and passed over, as the window does.
        exit_code = tally.written + tally.existing > 0 && !tally.stopped ? 0 : 1;
        std::fprintf(stderr, "%s\n", batch_summary(tally, "batch.log").c_str());
    });
}

}  // namespace velq::cli
