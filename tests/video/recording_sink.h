// A sink for the tests of sinks that feed other sinks: it keeps the last byte of every frame it takes,
// cannot open when asked, fails frame `fail` and refuses frames from `cap` on.
#pragma once

#include <string>
#include <vector>

#include "video/video_sink.h"

namespace velq::test {

struct RecordingSink : VideoSink {
    bool refuse_open = false, finished = false, abandoned = false;
    int fail = -1, cap = 1000;
    std::vector<int> seen;
    UBUFFER picture;

    int init_video(const std::string&, int w, int h) override {
        return !refuse_open && picture.allocate(w, h, 4) ? 0 : -1;
    }
    UBUFFER& source() override { return picture; }
    int write_video_frame(double& t) override {
        if (int(seen.size()) == fail) return -1;
        if (int(seen.size()) >= cap) return 1;
        seen.push_back(picture.data()[picture.size() - 1]);
        t = double(seen.size()) / 30;
        return 0;
    }
    int finish() override { return finished = true, 0; }
    void abandon() override { abandoned = true; }
};

}  // namespace velq::test
