// velquino video INPUT -o OUTPUT: the picture's shape art, animated, as a video (or a GIF).
#include <charconv>
#include <memory>

#include "app/render_op.h"
#include "app/video_export.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"

namespace velq::cli {

bool parse_size(const std::string& text, int& w, int& h) {
    const auto x = text.find_first_of("xX");
    if (x == std::string::npos) return false;
    const char* b = text.data();
    const auto [p1, e1] = std::from_chars(b, b + x, w);
    const auto [p2, e2] = std::from_chars(b + x + 1, b + text.size(), h);
    return e1 == std::errc() && p1 == b + x && e2 == std::errc() && p2 == b + text.size() && w > 0 && h > 0;
}

std::optional<FitMode> fit_mode_from_name(const std::string& name) {
    if (name == "none") return FitMode::None;
    if (name == "fit") return FitMode::Fit;
    if (name == "stretch") return FitMode::Stretch;
    return std::nullopt;
}

void add_video_frame_options(CLI::App& cmd, VideoFrameArgs& a) {
    cmd.add_option("--size", a.size, "video size WxH (default 640x480)");
    cmd.add_option("--fit", a.fit, "none (the picture's aspect at the video height), fit or stretch");
}

VideoFrame video_frame_of(const VideoFrameArgs& a) {
    VideoFrame f;
    usage_check(parse_size(a.size, f.width, f.height) ? "" : "--size needs WxH, not '" + a.size + "'");
    const auto fit = fit_mode_from_name(a.fit);
    usage_check(fit ? "" : "--fit needs none, fit or stretch, not '" + a.fit + "'");
    f.fit = *fit;
    return f;
}

void add_video_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        VideoFrameArgs frame;
        PictureOptions picture;
        TransformOptions transform;
        OutputOptions out;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("video", "write the animation of the shape art as a video or a GIF");
    cmd->add_option("INPUT", args->input, "picture to open")->required();
    cmd->add_option("-o,--output", args->output,
                    "video to write: .mp4 .mov .avi .webm .wmv .mpeg .3gpp .flv, or .gif")
        ->required();
    add_video_frame_options(*cmd, args->frame);
    add_picture_options(*cmd, args->picture);
    add_transform_options(*cmd, args->transform);
    add_output_options(*cmd, args->out);
    cmd->callback([args, &exit_code] {
        const VideoFrame frame = video_frame_of(args->frame);
        CliHost host(args->picture.quiet);
        Document doc(host);
        exit_code = open_and_transform(doc, host, args->input, args->picture, args->transform);
        if (exit_code != 0) return;
        usage_check(apply_output_options(args->out, doc, host));
        if (apply_passage_options(args->out.passages, doc, host) != 0) {
            exit_code = 1;
            return;
        }
        doc.settings.video_width = frame.width;
        doc.settings.video_height = frame.height;
        int pw = 0, ph = 0;
        render_size(doc, pw, ph);
        exit_code =
            render_anim_video(doc, host, args->output, pw, ph, frame.fit) == 0 && !host.stopped() ? 0 : 1;
    });
}

}  // namespace velq::cli
