// velquino filter INPUT -o OUTPUT: the working picture after the chosen colour filter.
#include <memory>

#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"

namespace velq::cli {

void add_filter_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        PictureOptions picture;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("filter", "write the filtered working picture only");
    cmd->add_option("INPUT", args->input, "picture to open")->required();
    cmd->add_option("-o,--output", args->output, "picture to write (.png .jpg .jpeg .bmp .tif)")->required();
    add_picture_options(*cmd, args->picture);
    cmd->callback([args, &exit_code] {
        CliHost host(args->picture.quiet);
        Document doc(host);
        usage_check(apply_picture_options(args->picture, doc));
        exit_code = open_and_filter(doc, host, args->input);
        if (exit_code == 0) exit_code = write_result(host, doc.filtered, args->output, doc.settings.dpi);
    });
}

}  // namespace velq::cli
