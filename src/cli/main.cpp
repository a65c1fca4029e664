// velquino: the command-line tool for headless and batch work.
#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/batch_options.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
    CLI::App app{"velquino " VELQ_VERSION ": turns pictures into decorative shape art"};
    app.set_version_flag("--version", std::string("velquino ") + VELQ_VERSION);
    app.require_subcommand(1);
    int exit_code = 0;
    velq::cli::add_filter_command(app, exit_code);
    velq::cli::add_info_command(app, exit_code);
    velq::cli::add_circles_command(app, exit_code);
    velq::cli::add_render_command(app, exit_code);
    velq::cli::add_video_command(app, exit_code);
    velq::cli::add_frame_command(app, exit_code);
    velq::cli::add_social_command(app, exit_code);
    velq::cli::add_cycle_command(app, exit_code);
    velq::cli::add_cycle_video_command(app, exit_code);
    velq::cli::add_render_dir_command(app, exit_code);
    velq::cli::set_command_line(argc, argv);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }
    return exit_code;
}
