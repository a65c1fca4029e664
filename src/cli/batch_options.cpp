#include "cli/batch_options.h"

#include <cstdio>

#include "cli/pipeline.h"

namespace velq::cli {

namespace {

std::vector<std::string>& command_line() {
    static std::vector<std::string> words;
    return words;
}

// Options that each line sets itself, with whether they take a value.
bool dropped(std::string_view word, bool& takes_value) {
    for (std::string_view name : {"--shard", "--job", "--seed"}) {
        if (word == name) return takes_value = true;
        if (word.size() > name.size() && word.starts_with(name) && word[name.size()] == '=') return true;
    }
    return word == "--list";
}

}  // namespace

void add_batch_options(CLI::App& cmd, BatchArgs& a) {
    cmd.add_flag("--list", a.list, "print one self-contained command per job and run nothing");
    cmd.add_option("--shard", a.shard, "K/N: run only jobs K, K+N, K+2N, ... (K from 0)");
    cmd.add_option("--job", a.job, "run only the job of this name (as --list names it)");
    cmd.add_flag("--skip-existing", a.skip_existing, "keep outputs that are already complete");
    cmd.add_flag("--keep-going", a.keep_going, "go on after an unreadable picture or a failed job");
}

BatchOptions batch_options(const BatchArgs& a, const std::vector<BatchJob>& jobs) {
    BatchOptions o;
    if (a.shard) usage_check(parse_shard(*a.shard, o.shard) ? "" : "--shard needs K/N with 0 <= K < N");
    if (a.job) {
        bool known = false;
        for (const BatchJob& j : jobs) known = known || j.name == *a.job;
        usage_check(known ? "" : "no job is named '" + *a.job + "'");
        o.only = *a.job;
    }
    o.skip_existing = a.skip_existing;
    o.keep_going = a.keep_going;
    return o;
}

void set_command_line(int argc, const char* const* argv) {
    command_line().assign(argv, argv + argc);
}

std::string shell_quote(std::string_view word) {
    bool safe = !word.empty();
    for (char c : word) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           std::string_view("_@%+=:,./-").find(c) != std::string_view::npos;
        safe = safe && plain;
    }
    if (safe) return std::string(word);
    std::string q = "'";
    for (char c : word) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string job_command_lines(const std::vector<BatchJob>& jobs, const BatchArgs& a, std::uint32_t run_seed) {
    const std::vector<std::string>& words = command_line();
    std::string head;
    for (std::size_t i = 0; i < words.size(); ++i) {
        bool takes_value = false;
        if (i > 0 && dropped(words[i], takes_value)) {
            i += takes_value ? 1 : 0;
            continue;
        }
        head += (head.empty() ? "" : " ") + shell_quote(words[i]);
    }
    head += " --seed " + std::to_string(run_seed) + " --job ";
    const BatchOptions o = batch_options(a, jobs);
    std::string out;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (!o.shard.takes(i) || (!o.only.empty() && jobs[i].name != o.only)) continue;
        out += head + shell_quote(jobs[i].name) + "\n";
    }
    return out;
}

int list_or_run(const std::vector<BatchJob>& jobs, const BatchArgs& a, std::uint32_t run_seed, Host& host,
                BatchOptions options, const JobStep& step) {
    const BatchOptions line = batch_options(a, jobs);
    if (a.list) {
        const std::string lines = job_command_lines(jobs, a, run_seed);
        std::fwrite(lines.data(), 1, lines.size(), stdout);
        return 0;
    }
    options.shard = line.shard;
    options.only = line.only;
    options.skip_existing = line.skip_existing;
    options.keep_going = options.keep_going || line.keep_going;
    const BatchTally t = run_batch(host, jobs, options, step);
    const std::string summary = batch_summary(t, options.journal);
    std::fprintf(stderr, "%s\n", summary.c_str());
    return t.ok() ? 0 : 1;
}

bool parse_selection(const std::string& list, int from, int count,
                     const std::function<int(std::string_view)>& index, CyclingSelections& chosen) {
    for (int i = 0; i < count; ++i) chosen[std::size_t(from + i)] = list == "all";
    if (list == "all") return true;
    std::size_t start = 0;
    while (start <= list.size()) {
        std::size_t comma = list.find(',', start);
        if (comma == std::string::npos) comma = list.size();
        const int i = index(std::string_view(list).substr(start, comma - start));
        if (i < 0 || i >= count) return false;
        chosen[std::size_t(from + i)] = true;
        start = comma + 1;
    }
    return true;
}

}  // namespace velq::cli
