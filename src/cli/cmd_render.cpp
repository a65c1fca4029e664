// velquino render INPUT -o OUTPUT: open, filter, transform and render in one go; the result carries
// its settings block.
#include <map>
#include <memory>

#include "app/filter_and_transform.h"
#include "app/logo_choice.h"
#include "app/metadata.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "image/file_types.h"

namespace velq::cli {

namespace {

struct LogoOptions {
    std::optional<std::string> text, font, image;
    std::optional<int> transparency;
};

// "I=PATH" values grouped by layer, in the order given.
std::map<int, std::vector<std::string>> shapes_by_layer(const std::vector<std::string>& values, int layers) {
    std::map<int, std::vector<std::string>> out;
    for (const std::string& v : values) {
        const auto eq = v.find('=');
        int index = -1;
        try {
            index = eq == std::string::npos ? -1 : std::stoi(v.substr(0, eq));
        } catch (const std::exception&) {
            index = -1;
        }
        usage_check(index < 1 || index >= layers || eq + 1 >= v.size()
                        ? "--shapes needs I=PATH with a layer from 1 to " + std::to_string(layers - 1) +
                              ", not '" + v + "'"
                        : "");
        out[index].push_back(v.substr(eq + 1));
    }
    return out;
}

}  // namespace

void add_render_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        PictureOptions picture;
        TransformOptions transform;
        OutputOptions output_options;
        std::vector<std::string> shapes;
        LogoOptions logo;
        std::optional<std::string> settings;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand(
        "render", "turn a picture into shape art (.png .jpg .jpeg .bmp, or .psd with its layers)");
    cmd->add_option("INPUT", args->input,
                    "picture to open (with --settings: the result's own source when left out)");
    cmd->add_option("-o,--output", args->output, "result to write; its settings block is appended")
        ->required();
    add_picture_options(*cmd, args->picture);
    add_transform_options(*cmd, args->transform);
    add_output_options(*cmd, args->output_options);
    cmd->add_option("--shapes", args->shapes, "I=PATH: a shape picture for layer I (repeat, in order)");
    cmd->add_option("--logo-text", args->logo.text, "a line of text stamped in the top right corner");
    cmd->add_option("--logo-font", args->logo.font, "the text logo's font face (default \"Courier New\")");
    cmd->add_option("--logo-image", args->logo.image, "a picture stamped in the top right corner");
    cmd->add_option("--logo-transparency", args->logo.transparency, "the logo's transparency, 0..255");
    cmd->add_option("--settings", args->settings,
                    "start from the settings and layers of a saved result; options given here override them");
    cmd->callback([args, &exit_code] {
        usage_check(args->input.empty() && !args->settings ? "INPUT is required (or --settings RESULT)" : "");
        const std::string ext = file_extension(args->output);
        usage_check(ext == "png" || ext == "jpg" || ext == "bmp" || ext == "psd"
                        ? ""
                        : "the output must end in .png, .jpg, .jpeg, .bmp or .psd");
        usage_check(args->logo.text && args->logo.image ? "give --logo-text or --logo-image, not both" : "");
        CliHost host(args->picture.quiet);
        Document doc(host);
        SettingsBlock block;
        if (args->settings) {
            // The block first, then the options on the line over it.
            exit_code = read_result_settings(host, *args->settings, block);
            if (exit_code == 0) exit_code = open_with_settings(doc, host, args->input, block);
            if (exit_code != 0) return;
        }
        usage_check(apply_picture_options(args->picture, doc));
        usage_check(apply_transform_options(args->transform, doc));
        const auto shapes = shapes_by_layer(args->shapes, int(doc.layers.size()));
        if (args->settings)
            exit_code = filter_and_transform(doc, host) == 0 ? 0 : 1;
        else
            exit_code = open_and_transform(doc, host, args->input, args->transform.min_size);
        if (exit_code != 0) return;
        // A reopened result keeps its size and resolution unless the line says otherwise.
        if (args->settings && args->input.empty()) restore_output_size(doc, block.settings);
        usage_check(apply_output_options(args->output_options, doc, host));
        for (const auto& [index, paths] : shapes) {
            if (load_shapes(host, doc.layers[index], paths) != 0) {
                exit_code = 1;
                return;
            }
        }
        if (args->logo.text || args->logo.image) {
            LogoChoice choice;
            choice.text = bool(args->logo.text);
            if (args->logo.text) choice.text_line = *args->logo.text;
            if (args->logo.font) choice.face = *args->logo.font;
            if (args->logo.image) choice.path = *args->logo.image;
            choice.transparency = args->logo.transparency.value_or(255);
            if (choose_logo(doc, host, choice) != 0) {
                exit_code = 1;
                return;
            }
        }
        int w = 0, h = 0;
        render_size(doc, w, h);
        if (generate_shaped_image(doc, host, w, h) != 0) {
            exit_code = 1;
            return;
        }
        exit_code = save_result(doc, host, args->output, 3) == 0 ? 0 : 1;
    });
}

}  // namespace velq::cli
