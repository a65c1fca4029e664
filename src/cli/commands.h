// The tool's subcommands. Each file adds one to the application and runs it from CLI11's callback,
// leaving its exit code (0 success, 1 failed operation) in `exit_code`.
#pragma once

#include <CLI/CLI.hpp>

namespace velq::cli {

void add_filter_command(CLI::App& app, int& exit_code);
void add_info_command(CLI::App& app, int& exit_code);
void add_circles_command(CLI::App& app, int& exit_code);
void add_render_command(CLI::App& app, int& exit_code);

}  // namespace velq::cli
