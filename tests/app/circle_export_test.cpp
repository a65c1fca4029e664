#include <gtest/gtest.h>

#include <sstream>

#include "app/circle_export.h"
#include "app/circles_svg.h"
#include "app/transform_driver.h"
#include "support/circles.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using test::circle;

// A 20 x 16 working picture with two free circles and three Segments, the second disabled; the
// transform mode says which of them count.
void fill(Document& doc, TransformMode mode) {
    doc.working = test::flat_picture(20, 16, 0xFF000000u);
    doc.settings.transform_mode = int(mode);
    doc.circles = {circle(0.5, 0.25, 1.5, {224, 192, 64, 255, 0, true}),
                   circle(0.1, 1, 2, {1, 2, 3, 4, 0, true})};
    doc.segments.resize(3);
    Segment& first = doc.segments[0];
    first.loop.points = {{0, 0}, {10.25, 0}, {10.25, 8}, {0, 8}};
    first.colour = {255.9, 0, 16.5, 200, 0, true};  // means: fractions are cut off
    first.child_segments = {2};
    first.circles = {circle(0.5, 0.25, 1.5, first.colour)};
    doc.segments[1].enabled = false;
    doc.segments[1].circles = {circle(0.2, 0.2, 1, {})};
    doc.segments[2].loop.points = {{2, 2}, {4, 2}};  // too short for an outline path
    doc.segments[2].colour = {0, 128, 0, 255, 0, true};
    doc.segments[2].circles = {circle(0.15, 0.5, 0.75, doc.segments[2].colour)};
}

TEST(CircleExport, OneListInWorkingPixelsAndItsSvg) {
    const struct {
        TransformMode mode;
        const char* name;
        std::array<int, 4> last_colour;
        std::string body;
    } cases[] = {
        {TransformMode::Normal,
         "normal",
         {1, 2, 3, 4},
         "<circle cx=\"10\" cy=\"4\" r=\"1.5\" fill=\"#e0c040\"/>\n"
         "<circle cx=\"2\" cy=\"16\" r=\"2\" fill=\"#010203\"/>\n"},
        {TransformMode::Vectorize,
         "vectorize",
         {0, 128, 0, 255},
         "<g id=\"segment-0\">\n"
         "<path fill=\"none\" stroke=\"#ff0010\" stroke-width=\"0.5\" d=\"M0 0 L10.25 0 L10.25 8 L0 8 Z\"/>\n"
         "<circle cx=\"10\" cy=\"4\" r=\"1.5\" fill=\"#ff0010\"/>\n"
         "</g>\n"
         "<g id=\"segment-2\">\n"
         "<circle cx=\"3\" cy=\"8\" r=\"0.75\" fill=\"#008000\"/>\n"
         "</g>\n"},
    };
    for (const auto& c : cases) {
        test::RecordingHost host;
        Document doc(host);
        fill(doc, c.mode);
        const CircleExport e = gather_circles(doc);
        EXPECT_EQ(e.transform, c.name);
        EXPECT_EQ(e.circles.back().colour, c.last_colour) << c.name;
        EXPECT_EQ(e.circles.front().segment, c.mode == TransformMode::Normal ? -1 : 0);
        std::ostringstream svg;
        write_circles_svg(svg, e);
        EXPECT_EQ(svg.str(),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                  "width=\"20\" height=\"16\" viewBox=\"0 0 20 16\">\n" +
                      c.body + "</svg>\n");
    }
}

}  // namespace
}  // namespace velq
