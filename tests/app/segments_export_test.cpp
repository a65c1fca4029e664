#include <gtest/gtest.h>

#include <sstream>

#include "app/segments_export.h"

namespace velq {
namespace {

std::vector<Segment> two_segments() {
    std::vector<Segment> segs(2);
    segs[0].loop.points = {{0, 0}, {10.25, 0}, {10.25, 8}, {0, 8}};
    segs[0].colour = {255, 0, 16, 255, 0, true};
    segs[0].child_segments = {1};
    segs[1].loop.points = {{2, 2}, {4, 2}, {4, 4}};
    segs[1].colour = {0, 128, 0, 255, 0, true};
    Circle c;
    c.x = 0.5;
    c.y = 0.25;
    c.radius = 1.5;
    c.own = segs[1].colour;
    segs[1].circles = {c, c};
    segs[0].circles = {c};
    segs[0].circles[0].own = segs[0].colour;
    return segs;
}

TEST(SegmentsExport, JsonListsSegmentsAndGivesEveryCircleItsSegment) {
    const auto segs = two_segments();
    const nlohmann::json list = segments_json(segs);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["index"], 0);
    EXPECT_EQ(list[0]["colour"], nlohmann::json({255.0, 0.0, 16.0, 255.0}));
    EXPECT_EQ(list[0]["outline"][1], nlohmann::json({10.25, 0.0}));
    EXPECT_EQ(list[0]["children"], nlohmann::json({1}));
    EXPECT_EQ(list[1]["outline"].size(), 3u);
    const nlohmann::json circles = segment_circles_json(segs, 20, 16);
    ASSERT_EQ(circles.size(), 3u);
    const int want_segment[] = {0, 1, 1};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(circles[i]["segment"], want_segment[i]);
        EXPECT_EQ(circles[i]["x"], 10.0);  // fractions back to working pixels
        EXPECT_EQ(circles[i]["y"], 4.0);
        EXPECT_EQ(circles[i]["radius"], 1.5);
    }
}

TEST(SegmentsExport, SvgDrawsOutlinesAndCirclesOfEnabledSegments) {
    auto segs = two_segments();
    std::ostringstream svg;
    write_segments_svg(svg, segs, 20, 16);
    const std::string s = svg.str();
    EXPECT_NE(s.find("viewBox=\"0 0 20 16\""), std::string::npos);
    EXPECT_NE(s.find("d=\"M0 0 L10.25 0 L10.25 8 L0 8 Z\""), std::string::npos);
    EXPECT_NE(s.find("<circle cx=\"10\" cy=\"4\" r=\"1.5\" fill=\"#ff0010\"/>"), std::string::npos);
    EXPECT_NE(s.find("fill=\"#008000\""), std::string::npos);
    segs[1].enabled = false;
    std::ostringstream without;
    write_segments_svg(without, segs, 20, 16);
    EXPECT_EQ(without.str().find("#008000"), std::string::npos);
    EXPECT_EQ(without.str().find("segment-1"), std::string::npos);
}

}  // namespace
}  // namespace velq
