#include <gtest/gtest.h>

#include <cmath>

#include "app/filter_driver.h"
#include "app/transform_driver.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// A Document holding a two-colour picture, filtered with kind Normal.
void load(Document& doc, Host& host, int w, int h) {
    doc.source = test::make_picture(w, h, [w](int x, int) { return x < w / 2 ? 0xFF2060A0u : 0xFFE0C040u; });
    doc.settings.interpolation = 2;
    ASSERT_EQ(do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit), 0);
}

TEST(TransformDriver, NormalPacksCirclesWithTheirColoursAndSaysHowMany) {
    test::RecordingHost host;
    Document doc(host);
    load(doc, host, 40, 30);
    doc.settings.gap = 2;
    doc.settings.max_size = 0.1;
    ASSERT_EQ(do_transform(doc, host, TransformMode::Normal, true), 0);
    ASSERT_FALSE(doc.circles.empty());
    EXPECT_TRUE(host.said("The number of circles is " + std::to_string(doc.circles.size())));
    EXPECT_TRUE(doc.transformed);
    EXPECT_FALSE(doc.rendered);
    const int w = doc.filtered.width(), h = doc.filtered.height();
    for (const Circle& c : doc.circles) {
        ASSERT_GE(c.x, 0);
        ASSERT_LE(c.x, 1);
        ASSERT_GE(c.y, 0);
        ASSERT_LE(c.y, 1);
        const int px = int(c.x * w + 1e-9), py = int(c.y * h + 1e-9);
        EXPECT_EQ(c.own.c0, doc.filtered.at(std::min(px, w - 1), std::min(py, h - 1), 2));
        for (const Circle& o : doc.circles) {
            if (&o == &c) break;
            ASSERT_GE(std::hypot((c.x - o.x) * w, (c.y - o.y) * h) + 1e-6, c.radius + o.radius + 2) << "GAP";
        }
    }
    // The frame and one outline per circle for the "Edges and Circles" view.
    EXPECT_EQ(doc.pieces.size(), doc.circles.size() + 1);
    EXPECT_EQ(doc.bs_buffer.width(), doc.filter_buffer.width());
}

TEST(TransformDriver, RefusalsFailAndLeaveNoCircles) {
    struct Case {
        double min, max;
        TransformMode mode;
        const char* message;
    } cases[] = {{0.02, 0.02, TransformMode::Normal, "Invalid MAX, MIN value in fill_circle_algo1()"},
                 {0.05, 0.02, TransformMode::Normal, "Invalid MAX, MIN value in fill_circle_algo1()"},
                 {0.05, 0.02, TransformMode::Vectorize, "Invalid MAX, MIN value in fill_circle_algo2()"}};
    for (const Case& k : cases) {
        test::RecordingHost host;
        Document doc(host);
        load(doc, host, 30, 30);
        doc.settings.min_size = k.min;
        doc.settings.max_size = k.max;
        EXPECT_EQ(do_transform(doc, host, k.mode, false), -1) << k.message;
        EXPECT_TRUE(host.said(k.message));
        EXPECT_TRUE(doc.circles.empty());
        for (const Segment& s : doc.segments) EXPECT_TRUE(s.circles.empty());
    }
    test::RecordingHost host;
    Document doc(host);
    EXPECT_EQ(do_transform(doc, host, TransformMode::Normal, false), -1) << "nothing to transform";
    load(doc, host, 30, 30);
    EXPECT_EQ(do_transform(doc, host, TransformMode::Alphabet, false), -1);
    EXPECT_TRUE(host.said("The Alphabet transform is not available yet"));
}

TEST(TransformDriver, AStoppedPackingKeepsItsCirclesAsFractions) {
    class StopAfterFirst : public test::RecordingHost {
    public:
        void circles_added(std::span<const LiveCircle> batch) override {
            RecordingHost::circles_added(batch);
            stop = true;
        }
    };
    // Large enough that the packing outlasts the first live report.
    StopAfterFirst host;
    Document doc(host);
    load(doc, host, 400, 300);
    Document full(host);
    load(full, host, 400, 300);
    test::RecordingHost quiet;
    ASSERT_EQ(do_transform(full, quiet, TransformMode::Normal, false), 0);
    ASSERT_EQ(do_transform(doc, host, TransformMode::Normal, false), 0);
    ASSERT_FALSE(doc.circles.empty());
    EXPECT_LT(doc.circles.size(), full.circles.size());
    for (std::size_t i = 0; i < doc.circles.size(); ++i) {
        EXPECT_DOUBLE_EQ(doc.circles[i].x, full.circles[i].x) << "the same circles, in the same order";
        EXPECT_DOUBLE_EQ(doc.circles[i].radius, full.circles[i].radius);
    }
}

}  // namespace
}  // namespace velq
