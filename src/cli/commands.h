// The tool's subcommands. Each file adds one to the application and runs it from CLI11's callback,
// leaving its exit code (0 success, 1 failed operation) in `exit_code`.
#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "video/frame_layout.h"

namespace velq::cli {

void add_filter_command(CLI::App& app, int& exit_code);
void add_info_command(CLI::App& app, int& exit_code);
void add_circles_command(CLI::App& app, int& exit_code);
void add_render_command(CLI::App& app, int& exit_code);
void add_video_command(CLI::App& app, int& exit_code);
void add_frame_command(CLI::App& app, int& exit_code);
void add_social_command(CLI::App& app, int& exit_code);
void add_cycle_command(CLI::App& app, int& exit_code);
void add_cycle_video_command(CLI::App& app, int& exit_code);
void add_render_dir_command(CLI::App& app, int& exit_code);

// The fit mode of a --fit name (none, fit, stretch).
std::optional<FitMode> fit_mode_from_name(const std::string& name);

// --size and --fit of the commands that write videos.
struct VideoFrameArgs {
    std::string size = "640x480", fit = "none";
};
void add_video_frame_options(CLI::App& cmd, VideoFrameArgs& a);
struct VideoFrame {
    int width = 0, height = 0;
    FitMode fit = FitMode::None;
};
// The frame the options ask for; a bad size or fit is a usage error.
VideoFrame video_frame_of(const VideoFrameArgs& a);
// "WxH" with both sides 1 or more.
bool parse_size(const std::string& text, int& w, int& h);

}  // namespace velq::cli
