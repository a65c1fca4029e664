// velquino circles INPUT -o OUT.json|OUT.svg: the transform's circles, for tools and vector editors.
#include <memory>
#include <sstream>

#include "app/circle_export.h"
#include "app/circles_svg.h"
#include "cli/circles_json.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "image/file_types.h"
#include "image/replace_file.h"

namespace velq::cli {

void add_circles_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        PictureOptions picture;
        TransformOptions transform;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("circles", "write the transform's circles as JSON or SVG");
    cmd->add_option("INPUT", args->input, "picture to open")->required();
    cmd->add_option("-o,--output", args->output, "file to write (.json or .svg)")->required();
    add_picture_options(*cmd, args->picture);
    add_transform_options(*cmd, args->transform);
    cmd->callback([args, &exit_code] {
        const std::string ext = file_extension(args->output);
        usage_check(ext == "json" || ext == "svg" ? "" : "the output must end in .json or .svg");
        CliHost host(args->picture.quiet);
        Document doc(host);
        exit_code = open_and_transform(doc, host, args->input, args->picture, args->transform);
        if (exit_code != 0) return;
        const CircleExport circles = gather_circles(doc);
        std::string text;
        if (ext == "json") {
            text = circles_json(circles);
        } else {
            std::ostringstream svg;
            write_circles_svg(svg, circles);
            text = svg.str();
        }
        if (!replace_file(args->output,
                          std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()))) {
            host.message("Failed to write " + args->output);
            exit_code = 1;
        }
    });
}

}  // namespace velq::cli
