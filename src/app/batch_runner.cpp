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
    BatchTally t;
    std::size_t total = 0, done = 0;
    auto takes = [&](std::size_t i) {
        return o.shard.takes(i) && (o.only.empty() || jobs[i].name == o.only);
    };
    for (std::size_t i = 0; i < jobs.size(); ++i) total += takes(i) ? 1 : 0;
    ProgressRun run(host);
    bool end = false;  // stopped, or a failure without keep-going
    for (std::size_t i = 0; i < jobs.size() && !end; ++i) {
        if (!takes(i)) continue;
        const BatchJob& job = jobs[i];
        ++done;
        if (host.stopped() && !host.skip) {
            t.stopped = true;
            journal_line(o.journal, job, JobStatus::Stopped, 0, "not started");
            break;
        }
        host.skip = false;
        host.stop = false;
        const auto start = std::chrono::steady_clock::now();
        JobOutcome r;
        {
            ProgressShare share(host, double(done - 1) / double(total), double(done) / double(total));
            host.item_label =
                o.title + " " + std::to_string(done) + "/" + std::to_string(total) + " " + job.name;
            host.title(labelled_title(host, kAppName));
            if (o.skip_existing && output_complete(job.output)) {
                r.status = JobStatus::Exists;
            } else {
                std::error_code ec;
                fs::create_directories(fs::path(job.output).parent_path(), ec);
                r = step(job);
            }
            // A job left early leaves no output behind, so nothing partial is ever taken as done.
            if (host.stopped() && r.status != JobStatus::Exists) {
                r.status = host.skip ? JobStatus::Skipped : JobStatus::Stopped;
                r.note = host.skip ? "Skip" : "Stop";
                std::error_code ec;
                fs::remove(job.output, ec);
            }
        }
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        switch (r.status) {
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
                end = !o.keep_going;
                break;
        }
        journal_line(o.journal, job, r.status, seconds, r.note);
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
