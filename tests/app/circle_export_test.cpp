#include <gtest/gtest.h>

#include <sstream>

#include "app/circle_export.h"
#include "app/circles_svg.h"
#include "app/transform_driver.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

Circle circle(double x, double y, double r, ColourRecord own) {
    Circle c;
    c.x = x;
    c.y = y;
    c.radius = r;
    c.own = own;
    return c;
}

// A 20 x 16 working picture: two free circles, or three Segments of which the second is disabled.
Document& fill(Document& doc, TransformMode mode) {
    doc.working = test::flat_picture(20, 16, 0xFF000000u);
    doc.settings.transform_mode = int(mode);
    doc.circles = {circle(0.5, 0.25, 1.5, {224, 192, 64, 255, 0, true}),
                   circle(0.1, 1, 2, {1, 2, 3, 4, 0, true})};
    doc.segments.resize(3);
    doc.segments[0].loop.points = {{0, 0}, {10.25, 0}, {10.25, 8}, {0, 8}};
    doc.segments[0].colour = {255.9, 0, 16.5, 255, 0, true};
    doc.segments[0].child_segments = {2};
    doc.segments[0].circles = {circle(0.5, 0.25, 1.5, doc.segments[0].colour)};
    doc.segments[1].enabled = false;
    doc.segments[1].circles = {circle(0.2, 0.2, 1, {})};
    doc.segments[2].loop.points = {{2, 2}, {4, 2}};
    doc.segments[2].colour = {0, 128, 0, 255, 0, true};
    doc.segments[2].circles = {circle(0.15, 0.5, 0.75, doc.segments[2].colour),
                               circle(0.15, 0.5, 0.75, doc.segments[2].colour)};
    return doc;
}

TEST(CircleExport, OneListInWorkingPixelsWhicheverTransformMadeIt) {
    struct Want {
        double x, y, radius;
        std::array<int, 4> colour;
        int segment;
    };
    const struct {
        TransformMode mode;
        const char* name;
        std::vector<Want> circles;
        std::vector<int> segments;
    } cases[] = {
        {TransformMode::Normal,
         "normal",
         {{10, 4, 1.5, {224, 192, 64, 255}, -1}, {2, 16, 2, {1, 2, 3, 4}, -1}},
         {}},
        {TransformMode::Vectorize,
         "vectorize",
         {{10, 4, 1.5, {255, 0, 16, 255}, 0},
          {3, 8, 0.75, {0, 128, 0, 255}, 2},
          {3, 8, 0.75, {0, 128, 0, 255}, 2}},
         {0, 2}},
    };
    for (const auto& c : cases) {
        test::RecordingHost host;
        Document doc(host);
        const CircleExport e = gather_circles(fill(doc, c.mode));
        EXPECT_EQ(e.transform, c.name);
        EXPECT_EQ(e.width, 20);
        EXPECT_EQ(e.height, 16);
        ASSERT_EQ(e.circles.size(), c.circles.size()) << c.name;
        for (std::size_t i = 0; i < c.circles.size(); ++i) {
            EXPECT_EQ(e.circles[i].x, c.circles[i].x) << c.name << i;
            EXPECT_EQ(e.circles[i].y, c.circles[i].y) << c.name << i;
            EXPECT_EQ(e.circles[i].radius, c.circles[i].radius) << c.name << i;
            EXPECT_EQ(e.circles[i].colour, c.circles[i].colour) << c.name << i;
            EXPECT_EQ(e.circles[i].segment, c.circles[i].segment) << c.name << i;
        }
        std::vector<int> indices;
        for (const ExportedSegment& s : e.segments) indices.push_back(s.index);
        EXPECT_EQ(indices, c.segments) << c.name;
    }
}

TEST(CircleExport, SvgGroupsCirclesByTheirSegment) {
    test::RecordingHost host;
    Document doc(host);
    const struct {
        TransformMode mode;
        std::string body;
    } cases[] = {
        {TransformMode::Normal,
         "<circle cx=\"10\" cy=\"4\" r=\"1.5\" fill=\"#e0c040\"/>\n"
         "<circle cx=\"2\" cy=\"16\" r=\"2\" fill=\"#010203\"/>\n"},
        {TransformMode::Vectorize,
         "<g id=\"segment-0\">\n"
         "<path fill=\"none\" stroke=\"#ff0010\" stroke-width=\"0.5\" d=\"M0 0 L10.25 0 L10.25 8 L0 8 Z\"/>\n"
         "<circle cx=\"10\" cy=\"4\" r=\"1.5\" fill=\"#ff0010\"/>\n"
         "</g>\n"
         "<g id=\"segment-2\">\n"
         "<circle cx=\"3\" cy=\"8\" r=\"0.75\" fill=\"#008000\"/>\n"
         "<circle cx=\"3\" cy=\"8\" r=\"0.75\" fill=\"#008000\"/>\n"
         "</g>\n"},
    };
    for (const auto& c : cases) {
        std::ostringstream svg;
        write_circles_svg(svg, gather_circles(fill(doc, c.mode)));
        EXPECT_EQ(
            svg.str(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"20\" height=\"16\" viewBox=\"0 0 20 16\">\n" +
                c.body + "</svg>\n");
    }
}

}  // namespace
}  // namespace velq
