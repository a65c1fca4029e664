// Runs the jobs of a batch: only the shard's, each under its own title and share of the bar, with
// Skip (leave this job, go on) and Stop (end the run), resuming from complete outputs, and a journal
// (one JSON line per job: name, status, seconds, note) in the output folder.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "app/batch_job.h"
#include "host/host.h"

namespace velq {

// What one job came to.
enum class JobStatus {
    Written,     // the output is in place
    Exists,      // a complete output was there already (skip-existing)
    Skipped,     // Skip was pressed
    Unreadable,  // the input is not a readable picture
    Failed,      // the operation failed, after its message
    Stopped,     // Stop was pressed: the run ends here
};
std::string_view job_status_name(JobStatus s);

struct JobOutcome {
    JobStatus status = JobStatus::Written;
    std::string note;
};

// Runs one job; the runner handles the flags, the title, the bar and the journal.
using JobStep = std::function<JobOutcome(const BatchJob&)>;

struct BatchOptions {
    std::string title;    // "Image cycling": the item title is "Image cycling 3/8 NAME"
    std::string journal;  // journal file, appended to; empty for none
    Shard shard;
    std::string only;  // when set, only the job of this name runs
    bool skip_existing = false;
    bool keep_going = false;  // go on after an unreadable input or a failed job
};

struct BatchTally {
    int written = 0, existing = 0, skipped = 0, failed = 0;
    bool stopped = false;
    // True when every job of the shard ended in its output.
    bool ok() const { return failed == 0 && !stopped; }
};

// An output already there in full: a file written through a temporary name and renamed is whole by
// construction; a picture must also end in its settings block, which is written last.
bool output_complete(const std::string& path);

BatchTally run_batch(Host& host, std::span<const BatchJob> jobs, const BatchOptions& options,
                     const JobStep& step);

// Runs several jobs at once; one outcome per job, in order.
using GroupStep = std::function<std::vector<JobOutcome>(std::span<const BatchJob* const>)>;
// Whether job `b` may run in one call with job `a`, the first of a run of consecutive jobs.
using Together = std::function<bool(const BatchJob& a, const BatchJob& b)>;

// The same, with each run of consecutive jobs that go `together` handed to `step` at once: those of
// them that the shard takes and that are not complete already. For Skip and Stop such a group is one
// item (the bar, the title "Social media 1-21/42 NAME" and the flags are the group's): every output of
// a group left early is removed. Each job still has its journal line, with its share of the time.
BatchTally run_batch(Host& host, std::span<const BatchJob> jobs, const BatchOptions& options,
                     const Together& together, const GroupStep& step);

// "7 written, 1 skipped, 0 failed (see batch.log)", with what was already there and whether the run
// was stopped.
std::string batch_summary(const BatchTally& t, const std::string& journal);

}  // namespace velq
