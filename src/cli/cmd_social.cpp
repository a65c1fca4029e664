// velquino social RESULT...: the social-media set of videos of saved results, in SocialMedia/ beside
// the first one.
#include <memory>
#include <vector>

#include "app/video_export.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/pipeline.h"

namespace velq::cli {

void add_social_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::vector<std::string> inputs;
        std::string fit = "fit";
        bool quiet = false;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("social", "write the social-media set of videos of saved results");
    cmd->add_option("INPUT", args->inputs, "saved results (pictures carrying their settings)")->required();
    cmd->add_option("--fit", args->fit, "fit (default) or stretch");
    cmd->add_flag("--quiet", args->quiet, "no progress line");
    cmd->callback([args, &exit_code] {
        const auto fit = fit_mode_from_name(args->fit);
        usage_check(fit && *fit != FitMode::None ? ""
                                                 : "--fit needs fit or stretch, not '" + args->fit + "'");
        CliHost host(args->quiet);
        Document doc(host);
        const int written = generate_sm_video(doc, host, args->inputs, *fit);
        exit_code = written > 0 && !host.stopped() ? 0 : 1;
    });
}

}  // namespace velq::cli
