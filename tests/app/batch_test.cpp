// Batch runs: the plans the selections give, the shards, the seeds and the runner's handling of
// existing outputs, Skip, Stop, unreadable inputs and the journal.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "app/batch_runner.h"
#include "host/progress.h"
#include "support/blocks.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> names(const std::vector<BatchJob>& jobs) {
    std::vector<std::string> out;
    for (const BatchJob& j : jobs) out.push_back(j.name);
    return out;
}

CyclingSelections only(std::initializer_list<int> on) {
    CyclingSelections s{};
    for (int i : on) s[std::size_t(i)] = true;
    return s;
}

TEST(BatchPlan, SelectionsGiveOrderedUniqueNames) {
    struct Case {
        CyclingSelections chosen;
        std::vector<std::string> image, video;
    };
    const Case cases[] = {
        {only({}), {}, {}},
        // Motions 0-4 only, no scan order: no video.
        {only({0, 1, 2, 3, 4}), {}, {}},
        {only({1, 7, 15}), {"d-f3-matrix.png"}, {"d-m1-snow-s2-circular-out.webm"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(names(image_cycling_jobs("in/d.jpg", c.chosen, "o", 0)), c.image);
        if (!c.video.empty()) {
            EXPECT_EQ(names(animation_cycling_jobs("in/d.png", c.chosen, "o", "webm", 0)), c.video);
        }
    }
    // Every motion with every scan order: 40 names, motions outermost, all different.
    CyclingSelections all;
    all.fill(true);
    const auto videos = animation_cycling_jobs("d.png", all, "o", "mp4", 0);
    ASSERT_EQ(videos.size(), 40u);
    EXPECT_EQ(videos[1].name, "d-m0-basic-s1-random.mp4");
    EXPECT_EQ(videos[39].name, "d-m4-flower-s7-bottom-to-top.mp4");
    EXPECT_EQ(videos[39].output, (fs::path("o") / videos[39].name).string());
    const auto all_names = names(videos);
    EXPECT_EQ(std::set<std::string>(all_names.begin(), all_names.end()).size(), 40u);
    EXPECT_EQ(std::pair(videos[10].motion, videos[10].scan), std::pair(1, 2));
}

TEST(BatchPlan, FoldersMirrorTheirTreesInNameOrder) {
    const fs::path root = test::temp_dir("batch_folders");
    fs::create_directories(root / "a" / "sub");
    fs::create_directories(root / "b" / "a");
    for (const char* f : {"a/z.png", "a/m.tif", "a/notes.txt", "a/sub/k.jpeg", "b/a/x.bmp"})
        std::ofstream(root / f) << "x";
    const std::string a = (root / "a").string(), b = (root / "b" / "a").string();
    EXPECT_EQ(names(folder_jobs(std::vector{a}, false, "o", 0)),
              (std::vector<std::string>{"m.tif.png", "z.png"}));
    EXPECT_EQ(names(folder_jobs(std::vector{a}, true, "o", 0)),
              (std::vector<std::string>{"m.tif.png", "sub/k.jpeg", "z.png"}));
    // Several folders keep their names; a repeated name gets a number.
    EXPECT_EQ(names(folder_jobs(std::vector{a, b}, false, "o", 0)),
              (std::vector<std::string>{"a/m.tif.png", "a/z.png", "a-2/x.bmp"}));
}

TEST(BatchPlan, SeedsComeFromTheRunSeedAndTheName) {
    // Fixed values: a job makes the same bytes on any machine.
    EXPECT_EQ(job_seed(0, ""), 1805975344u);
    EXPECT_EQ(job_seed(0, "demo-f3-matrix.png"), 3405336499u);
    EXPECT_EQ(job_seed(7, "demo-f3-matrix.png"), 2438910442u);
    EXPECT_EQ(job_seed(4294967295u, "a/b c.png"), 3770497678u);
    EXPECT_EQ(image_cycling_jobs("x/demo.png", only({15}), "o", 7).at(0).seed, 2438910442u);
    // A source's social set is one animation: every variant has the seed of the source's stem.
    for (const BatchJob& j : social_jobs(std::vector<std::string>{"x/a.png", "y/b.png"}, "o", 7))
        EXPECT_EQ(j.seed, job_seed(7, fs::path(j.input).stem().string())) << j.name;
}

TEST(BatchPlan, ShardTextAndCover) {
    const std::pair<const char*, bool> cases[] = {{"0/1", true},   {"2/3", true},  {"1/1", false},
                                                  {"-1/2", false}, {"1/0", false}, {"1/2x", false},
                                                  {"a/b", false},  {"3", false}};
    for (const auto& [text, ok] : cases) {
        Shard s;
        EXPECT_EQ(parse_shard(text, s), ok) << text;
    }
    // Shards are disjoint and cover every job.
    for (const int n : {1, 3, 7})
        for (std::size_t i = 0; i < 30; ++i) {
            int takers = 0;
            for (int k = 0; k < n; ++k) takers += Shard{k, n}.takes(i);
            EXPECT_EQ(takers, 1) << i << " of " << n;
        }
}

// A file ending in a settings block, as every complete output picture does.
void write_result(const std::string& path) {
    test::put_file(path, test::file_with_block(test::sample_block(), 100));
}

TEST(BatchRun, ExistingSkipStopUnreadableAndTheJournal) {
    // Per job what the step does: 'w' writes, 'u' unreadable, 'f' fails, 's' Skip pressed, 'x' Stop
    // pressed; 'c' a complete output is there, 'p' a partial one (no block), both then written.
    struct Case {
        const char* name;
        std::string steps;
        bool skip_existing, keep_going;
        std::vector<std::string> statuses;  // journal, in order
        bool ok;
        std::vector<bool> outputs;  // which outputs exist afterwards
        std::string title;          // shown while the last job runs; "" if it never runs
    };
    const Case cases[] = {
        {"resume", "cpw", true, false, {"exists", "written", "written"}, true, {true, true, true}, "3/3 2"},
        {"no resume", "cw", false, false, {"written", "written"}, true, {true, true}, "2/2 1"},
        {"skip", "wsw", false, false, {"written", "skipped", "written"}, true, {true, false, true}, "3/3 2"},
        {"stop ends", "wxw", false, false, {"written", "stopped"}, false, {true, false, false}, ""},
        {"unreadable kept going", "uw", false, true, {"unreadable", "written"}, true, {false, true}, "2/2 1"},
        {"unreadable fails", "uw", false, false, {"unreadable"}, false, {false, false}, ""},
        {"failure kept going", "fw", false, true, {"failed", "written"}, false, {false, true}, "2/2 1"},
    };
    for (const Case& c : cases) {
        const fs::path dir = test::temp_dir(std::string("batch_run_") + c.name);
        std::vector<BatchJob> jobs(c.steps.size());
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            jobs[i].name = std::to_string(i) + ".png";
            jobs[i].output = (dir / jobs[i].name).string();
            if (c.steps[i] == 'c') write_result(jobs[i].output);
            if (c.steps[i] == 'p') std::ofstream(jobs[i].output) << "partial";
        }
        test::RecordingHost host;
        const BatchOptions o{.title = "Image cycling",
                             .journal = (dir / "batch.log").string(),
                             .skip_existing = c.skip_existing,
                             .keep_going = c.keep_going};
        std::size_t at = 0;
        const BatchTally t = run_batch(host, jobs, o, [&](const BatchJob& j) {
            const char step = c.steps[at++];
            Progress stage(host, "Rendering");
            if (step == 'u') return JobOutcome{JobStatus::Unreadable, "not a readable picture"};
            if (step == 'f') return JobOutcome{JobStatus::Failed, "failed"};
            write_result(j.output);
            if (step == 's') host.skip = true;
            if (step == 's' || step == 'x') host.stop = true;
            return JobOutcome{};
        });
        std::vector<std::string> statuses;
        std::ifstream journal(o.journal);
        for (std::string l; std::getline(journal, l);) statuses.push_back(nlohmann::json::parse(l)["status"]);
        EXPECT_EQ(statuses, c.statuses) << c.name;
        EXPECT_EQ(t.ok(), c.ok) << c.name;
        for (std::size_t i = 0; i < jobs.size(); ++i)
            EXPECT_EQ(fs::exists(jobs[i].output), c.outputs[i]) << c.name << i;
        EXPECT_FALSE(host.skip) << c.name;
        const auto titles = host.titles();
        EXPECT_EQ(std::count(titles.begin(), titles.end(),
                             "Velquinograph (Image cycling " + c.title + ".png: Rendering...)"),
                  c.title.empty() ? 0 : 1)
            << c.name;
        EXPECT_EQ(titles.back(), "Velquinograph") << c.name;
        EXPECT_EQ(host.percents().back() == 100, !c.title.empty()) << c.name;
    }
}

// Jobs that go together (here: one first letter) reach the step at once: those of the shard whose
// outputs are not complete already (upper case). Skip during a group leaves none of its outputs.
TEST(BatchRun, GroupsOfJobsRunAsOneItem) {
    struct Case {
        std::string plan;
        Shard shard;
        const char* skip_in;  // the group whose step presses Skip
        std::vector<std::string> groups;
        std::string outputs;  // '1' where an output is there afterwards
    };
    const Case cases[] = {
        {"aaabbc", {}, "", {"012", "34", "5"}, "111111"},
        {"aaabbc", {1, 2}, "", {"1", "3", "5"}, "010101"},
        {"aAab", {}, "", {"02", "3"}, "1111"},
        {"aab", {}, "01", {"01", "2"}, "001"},
    };
    for (const Case& c : cases) {
        const fs::path dir = test::temp_dir("batch_groups_" + c.plan + c.skip_in + std::to_string(c.shard.n));
        std::vector<BatchJob> jobs(c.plan.size());
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            jobs[i].name = std::string(1, char(std::tolower(c.plan[i]))) + std::to_string(i);
            jobs[i].output = (dir / (jobs[i].name + ".png")).string();
            if (std::isupper(static_cast<unsigned char>(c.plan[i]))) write_result(jobs[i].output);
        }
        QuietHost host;
        const BatchOptions o{.shard = c.shard, .skip_existing = true};
        std::vector<std::string> groups;
        const auto together = [](const BatchJob& a, const BatchJob& b) { return a.name[0] == b.name[0]; };
        run_batch(host, jobs, o, together, [&](std::span<const BatchJob* const> g) {
            groups.emplace_back();
            for (const BatchJob* j : g) groups.back() += j->name.substr(1), write_result(j->output);
            if (groups.back() == c.skip_in) host.skip = host.stop = true;
            return std::vector<JobOutcome>(g.size());
        });
        EXPECT_EQ(groups, c.groups) << c.plan;
        std::string outputs;
        for (const BatchJob& j : jobs) outputs += fs::exists(j.output) ? '1' : '0';
        EXPECT_EQ(outputs, c.outputs) << c.plan;
    }
}

}  // namespace
}  // namespace velq
