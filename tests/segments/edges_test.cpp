#include <gtest/gtest.h>

#include <cmath>

#include "art.h"
#include "segments/edges.h"
#include "support/recording_host.h"

namespace velq {
namespace {

bool on_frame(const BoundaryPoint& p, int w, int h) {
    return p.x == 0 || p.y == 0 || p.x == w - 0.5 || p.y == h - 0.5;
}

TEST(SegmentEdges, IslandGivesOneClosedPieceAroundIt) {
    const std::vector<std::string> art = {
        "1111111", "1111111", "1122111", "1122111", "1111111",
    };
    test::RecordingHost host;
    auto pieces = get_segment_edges(test::art_labels(art), 0.7, true, host);
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_TRUE(pieces[0].closed);
    // The border lies three quarters into the pixel before it: x in {1.75, 3.75}, y in {1.75, 3.75}.
    ASSERT_EQ(pieces[0].points.size(), 4u);
    for (const BoundaryPoint& p : pieces[0].points) {
        EXPECT_TRUE(p.x == 1.75 || p.x == 3.75) << p.x;
        EXPECT_TRUE(p.y == 1.75 || p.y == 3.75) << p.y;
    }
    EXPECT_EQ(host.titles().front(), "Velquinograph (Getting vectorized segment edges...)");
}

TEST(SegmentEdges, BorderRunningToThePicturesEdgeIsOpenAndEndsThere) {
    struct Case {
        const char* name;
        std::vector<std::string> art;
        std::size_t pieces;
    } cases[] = {
        {"vertical", {"1122", "1122", "1122"}, 1},
        {"horizontal", {"111", "111", "222", "222"}, 1},
        {"corner", {"2211", "2211", "1111"}, 1},
        {"T junction", {"1122", "1122", "3333", "3333"}, 3},
    };
    for (const Case& c : cases) {
        test::RecordingHost host;
        IBUFFER map = test::art_labels(c.art);
        auto pieces = get_segment_edges(map, 0.7, false, host);
        EXPECT_TRUE(host.titles().empty()) << c.name;
        ASSERT_EQ(pieces.size(), c.pieces) << c.name;
        for (const BoundaryPiece& p : pieces) {
            EXPECT_FALSE(p.closed) << c.name;
            ASSERT_GE(p.points.size(), 2u) << c.name;
            EXPECT_TRUE(on_frame(p.points.front(), map.width(), map.height()) ||
                        on_frame(p.points.back(), map.width(), map.height()))
                << c.name;
        }
    }
}

TEST(SegmentEdges, PiecesMeetingAtAJunctionEndOnTheSamePoint) {
    IBUFFER map = test::art_labels({"1122", "1122", "3333", "3333"});
    test::RecordingHost host;
    auto pieces = get_segment_edges(map, 0.7, false, host);
    ASSERT_EQ(pieces.size(), 3u);
    const BoundaryPoint junction{1.75, 1.75};
    for (const BoundaryPiece& p : pieces) {
        const bool at_front = p.points.front().x == junction.x && p.points.front().y == junction.y;
        const bool at_back = p.points.back().x == junction.x && p.points.back().y == junction.y;
        EXPECT_TRUE(at_front != at_back);
    }
}

TEST(SegmentEdges, NoBordersNoPieces) {
    test::RecordingHost host;
    EXPECT_TRUE(get_segment_edges(test::art_labels({"000", "000"}), 0.7, true, host).empty());
}

TEST(SegmentEdges, SimplificationKeepsEndsAndPointsFartherThanTolerance) {
    using P = std::vector<BoundaryPoint>;
    struct Case {
        const char* name;
        P in;
        double tol;
        P out;
    } cases[] = {
        {"short", {{0, 0}, {1, 5}}, 0.7, {{0, 0}, {1, 5}}},
        {"straight", {{0, 0}, {1, 0.5}, {2, 0}, {3, 0.2}, {4, 0}}, 0.7, {{0, 0}, {4, 0}}},
        {"bump", {{0, 0}, {1, 0}, {2, 1}, {3, 0}, {4, 0}}, 0.7, {{0, 0}, {2, 1}, {4, 0}}},
        {"exactly tolerance stays out", {{0, 0}, {1, 0.7}, {2, 0}}, 0.7, {{0, 0}, {2, 0}}},
        {"beyond the end", {{0, 0}, {5, 0}, {6, 0}, {1, 0}}, 0.7, {{0, 0}, {6, 0}, {1, 0}}},
    };
    for (const Case& c : cases) {
        P pts = c.in;
        simplify_polyline(pts, c.tol);
        ASSERT_EQ(pts.size(), c.out.size()) << c.name;
        for (std::size_t i = 0; i < pts.size(); ++i) {
            EXPECT_DOUBLE_EQ(pts[i].x, c.out[i].x) << c.name;
            EXPECT_DOUBLE_EQ(pts[i].y, c.out[i].y) << c.name;
        }
    }
}

TEST(FramePieces, SplitAtOpenEndsRunningClockwiseFromTopLeft) {
    // A vertical border from top to bottom of a 4 x 3 picture at x = 1.75.
    std::vector<BoundaryPiece> pieces(1);
    pieces[0].points = {{1.75, 0}, {1.75, 2.5}};
    add_frame_pieces(pieces, 4, 3);
    ASSERT_EQ(pieces.size(), 3u);
    using P = std::vector<BoundaryPoint>;
    const P right = {{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}};
    const P left = {{1.75, 2.5}, {0, 2.5}, {0, 0}, {1.75, 0}};
    for (int k = 0; k < 2; ++k) {
        const P& want = k == 0 ? right : left;
        const P& got = pieces[1 + k].points;
        ASSERT_EQ(got.size(), want.size()) << k;
        for (std::size_t i = 0; i < want.size(); ++i) {
            EXPECT_DOUBLE_EQ(got[i].x, want[i].x) << k << " " << i;
            EXPECT_DOUBLE_EQ(got[i].y, want[i].y) << k << " " << i;
        }
        EXPECT_FALSE(pieces[1 + k].closed);
    }
    // Closed pieces alone do not bring the frame in.
    std::vector<BoundaryPiece> islands(1);
    islands[0].closed = true;
    islands[0].points = {{1, 1}, {2, 1}, {2, 2}};
    add_frame_pieces(islands, 4, 3);
    EXPECT_EQ(islands.size(), 1u);
}

}  // namespace
}  // namespace velq
