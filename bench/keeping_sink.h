// A video sink that keeps every frame the export hands over, so the frames can be encoded alone
// afterwards and the drawing and the encoding timed apart.
#pragma once

#include <string>
#include <vector>

#include "video/video_sink.h"

namespace velq::bench {

class KeepingSink : public VideoSink {
public:
    int init_video(const std::string&, int w, int h) override { return source_.allocate(w, h, 4) ? 0 : -1; }
    UBUFFER& source() override { return source_; }
    int write_video_frame(double& t) override {
        frames.push_back(source_.clone());
        t = double(frames.size()) / 30;
        return 0;
    }
    int finish() override { return 0; }
    void abandon() override {}
    std::vector<UBUFFER> frames;

private:
    UBUFFER source_;
};

}  // namespace velq::bench
