// velquino frame INPUT -o OUT.png --time T: one frame of the animation (OUT.psd: with its layers).
#include <memory>

#include "app/frame_psd.h"
#include "app/frame_render.h"
#include "app/render_op.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "image/file_types.h"

namespace velq::cli {

void add_frame_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        double time = 0;
        PictureOptions picture;
        TransformOptions transform;
        OutputOptions out;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("frame", "write one frame of the animation at a time in seconds");
    cmd->add_option("INPUT", args->input, "picture to open")->required();
    cmd->add_option("-o,--output", args->output,
                    "picture to write (.png .jpg .jpeg .bmp .tif, or .psd with its layers)")
        ->required();
    cmd->add_option("--time", args->time, "seconds from the start of the animation")->required();
    add_picture_options(*cmd, args->picture);
    add_transform_options(*cmd, args->transform);
    add_output_options(*cmd, args->out);
    cmd->callback([args, &exit_code] {
        CliHost host(args->picture.quiet);
        Document doc(host);
        exit_code = open_and_transform(doc, host, args->input, args->picture, args->transform);
        if (exit_code != 0) return;
        usage_check(apply_output_options(args->out, doc, host));
        if (apply_passage_options(args->out.passages, doc, host) != 0) {
            exit_code = 1;
            return;
        }
        int w = 0, h = 0;
        render_size(doc, w, h);
        if (file_extension(args->output) == "psd") {
            exit_code = export_frame_psd(doc, host, args->output, w, h, args->time) == 0 ? 0 : 1;
            return;
        }
        if (render_frame_at(doc, host, w, h, args->time) != 0) {
            exit_code = 1;
            return;
        }
        exit_code = write_result(host, doc.frame_buffer, args->output, doc.settings.dpi);
    });
}

}  // namespace velq::cli
