#include "app/batch_runner.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "app/metadata.h"
#include "host/progress.h"
#include "image/file_types.h"

namespace velq {

namespace fs = std::filesystem;

namespace {

std::string json_text(std::string_view s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += char(c);
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
        } else {
            out += char(c);
        }
    }
    return out + "\"";
}

// One line per job, appended and flushed at once, so shards writing to one folder interleave whole
// lines and a killed run keeps the lines of the jobs it finished.
void journal_line(const std::string& journal, const BatchJob& job, JobStatus status, double seconds,
                  const std::string& note) {
    if (journal.empty()) return;
    std::FILE* f = std::fopen(journal.c_str(), "a");
    if (!f) return;
    char secs[32];
    std::snprintf(secs, sizeof secs, "%.3f", seconds);
    const std::string line = "{\"job\":" + json_text(job.name) +
                             ",\"status\":" + json_text(job_status_name(status)) + ",\"seconds\":" + secs +
                             ",\"note\":" + json_text(note) + "}\n";
    std::fwrite(line.data(), 1, line.size(), f);
    std::fclose(f);
}

}  // namespace

std::string_view job_status_name(JobStatus s) {
    switch (s) {
        case JobStatus::Written:
            return "written";
        case JobStatus::Exists:
            return "exists";
        case JobStatus::Skipped:
            return "skipped";
        case JobStatus::Unreadable:
            return "unreadable";
        case JobStatus::Failed:
            return "failed";
        case JobStatus::Stopped:
            return "stopped";
    }
    return "";
}

bool output_complete(const std::string& path) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec) || fs::file_size(path, ec) == 0 || ec) return false;
    const std::string ext = file_extension(path);
    if (ext != "png" && ext != "jpg" && ext != "bmp") return true;
    QuietHost quiet;
    SettingsBlock block;
    return read_metadata_block(quiet, path, block);
}

BatchTally run_batch(Host& host, std::span<const BatchJob> jobs, const BatchOptions& o, const JobStep& step) {
    return run_batch(host, jobs, o, {}, [&](std::span<const BatchJob* const> group) {
        return std::vector<JobOutcome>{step(*group[0])};
    });
}

BatchTally run_batch(Host& host, std::span<const BatchJob> jobs, const BatchOptions& o,
                     const Together& together, const GroupStep& step) {
    BatchTally t;
    std::size_t total = 0, done = 0;
    auto takes = [&](std::size_t i) {
        return o.shard.takes(i) && (o.only.empty() || jobs[i].name == o.only);
    };
    for (std::size_t i = 0; i < jobs.size(); ++i) total += takes(i) ? 1 : 0;
    ProgressRun run(host);
    bool end = false;  // stopped, or a failure without keep-going
    std::vector<const BatchJob*> group, to_run;
    for (std::size_t i = 0, next = 0; i < jobs.size() && !end; i = next) {
        next = i + 1;
        if (together)
            while (next < jobs.size() && together(jobs[i], jobs[next])) ++next;
        group.clear();
        for (std::size_t k = i; k < next; ++k)
            if (takes(k)) group.push_back(&jobs[k]);
        if (group.empty()) continue;
        if (host.stopped() && !host.skip) {
            t.stopped = true;
            journal_line(o.journal, *group[0], JobStatus::Stopped, 0, "not started");
            break;
        }
        host.skip = false;
        host.stop = false;
        const auto start = std::chrono::steady_clock::now();
        std::vector<JobOutcome> r(group.size());
        {
            const std::size_t first = done + 1;
            done += group.size();
            ProgressShare share(host, double(first - 1) / double(total), double(done) / double(total));
            const std::string items =
                std::to_string(first) + (group.size() > 1 ? "-" + std::to_string(done) : std::string());
            host.item_label = o.title + " " + items + "/" + std::to_string(total) + " " + group[0]->name;
            host.title(labelled_title(host, kAppName));
            to_run.clear();
            for (std::size_t m = 0; m < group.size(); ++m) {
                if (o.skip_existing && output_complete(group[m]->output)) {
                    r[m].status = JobStatus::Exists;
                } else {
                    std::error_code ec;
                    fs::create_directories(fs::path(group[m]->output).parent_path(), ec);
                    to_run.push_back(group[m]);
                }
            }
            if (!to_run.empty()) {
                std::vector<JobOutcome> got = step(to_run);
                got.resize(to_run.size(), {JobStatus::Failed, "not run"});
                for (std::size_t m = 0, q = 0; m < group.size(); ++m)
                    if (r[m].status != JobStatus::Exists) r[m] = std::move(got[q++]);
            }
            // A job left early leaves no output behind, so nothing partial is ever taken as done.
            for (std::size_t m = 0; m < group.size() && host.stopped(); ++m) {
                if (r[m].status == JobStatus::Exists) continue;
                r[m].status = host.skip ? JobStatus::Skipped : JobStatus::Stopped;
                r[m].note = host.skip ? "Skip" : "Stop";
                std::error_code ec;
                fs::remove(group[m]->output, ec);
            }
        }
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
            double(group.size());
        for (std::size_t m = 0; m < group.size(); ++m) {
            switch (r[m].status) {
                case JobStatus::Written:
                    ++t.written;
                    break;
                case JobStatus::Exists:
                    ++t.existing;
                    break;
                case JobStatus::Skipped:
                    ++t.skipped;
                    break;
                case JobStatus::Stopped:
                    t.stopped = end = true;
                    break;
                case JobStatus::Unreadable:
                    if (o.keep_going) {
                        ++t.skipped;
                    } else {
                        ++t.failed;
                        end = true;
                    }
                    break;
                case JobStatus::Failed:
                    ++t.failed;
                    end = end || !o.keep_going;
                    break;
            }
            journal_line(o.journal, *group[m], r[m].status, seconds, r[m].note);
        }
    }
    host.item_label.clear();
    host.skip = false;
    host.title(kAppName);
    if (!end) run.finish();
    return t;
}

std::string batch_summary(const BatchTally& t, const std::string& journal) {
    std::string s = t.stopped ? "Stopped: " : "";
    s += std::to_string(t.written) + " written, ";
    if (t.existing) s += std::to_string(t.existing) + " already there, ";
    s += std::to_string(t.skipped) + " skipped, " + std::to_string(t.failed) + " failed";
    if (!journal.empty()) s += " (see " + fs::path(journal).filename().string() + ")";
    return s;
}

}  // namespace velq
