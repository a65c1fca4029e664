// What every batch subcommand (cycle, cycle-video, render-dir, social) shares: --list, --shard,
// --skip-existing, --keep-going and --job, the printing of one self-contained command per job, and
// running the plan.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "app/batch_runner.h"

namespace velq::cli {

struct BatchArgs {
    bool list = false;
    std::optional<std::string> shard;  // K/N
    std::optional<std::string> job;    // one job by name
    bool skip_existing = false;
    bool keep_going = false;
};

void add_batch_options(CLI::App& cmd, BatchArgs& a);

// The runner's options from the line (a usage error for a bad --shard or an unknown --job).
BatchOptions batch_options(const BatchArgs& a, const std::vector<BatchJob>& jobs);

// The tool's own command line (argv), kept by main for --list.
void set_command_line(int argc, const char* const* argv);

// A word the shell reads back as it is: bare when it holds only safe characters, else in single quotes.
std::string shell_quote(std::string_view word);

// One line per job of the shard: this command line without --list, --shard, --job and --seed, then
// "--seed RUN --job NAME", every word quoted for the shell.
std::string job_command_lines(const std::vector<BatchJob>& jobs, const BatchArgs& a, std::uint32_t run_seed);

// --list prints the lines on stdout; otherwise the jobs run and the summary goes to stderr. Returns
// the exit code: 0 when every job of the shard ended in its output.
int list_or_run(const std::vector<BatchJob>& jobs, const BatchArgs& a, std::uint32_t run_seed, Host& host,
                BatchOptions options, const JobStep& step);

// "a,b,c" or "all" into the selections [from, from + count) by name or number; false for an
// unknown entry.
bool parse_selection(const std::string& list, int from, int count,
                     const std::function<int(std::string_view)>& index, CyclingSelections& chosen);

}  // namespace velq::cli
