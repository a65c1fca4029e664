#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "art.h"
#include "segments/edges.h"
#include "segments/loops.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using P = std::vector<BoundaryPoint>;

// Points as (x, y) pairs, for comparing and printing.
std::vector<std::pair<double, double>> xy(const std::vector<BoundaryPoint>& pts) {
    std::vector<std::pair<double, double>> out;
    for (const BoundaryPoint& p : pts) out.emplace_back(p.x, p.y);
    return out;
}

// An island gives one closed piece around it, three quarters into the pixel before each border; a
// border running to the picture's edge is open and ends there; pieces meeting at a junction end on
// the same point; no borders, no pieces.
TEST(SegmentEdges, PiecesFollowTheBorders) {
    // name, art, number of pieces, closed
    const std::tuple<const char*, std::vector<std::string>, std::size_t, bool> cases[] = {
        {"island", {"1111111", "1111111", "1122111", "1122111", "1111111"}, 1, true},
        {"vertical", {"1122", "1122", "1122"}, 1, false},
        {"horizontal", {"111", "111", "222", "222"}, 1, false},
        {"corner", {"2211", "2211", "1111"}, 1, false},
        {"T junction", {"1122", "1122", "3333", "3333"}, 3, false},
        {"none", {"000", "000"}, 0, false},
    };
    for (const auto& [name, art, count, closed] : cases) {
        SCOPED_TRACE(name);
        test::RecordingHost host;
        const IBUFFER map = test::art_labels(art);
        const int w = map.width(), h = map.height();
        auto pieces = get_segment_edges(map, 0.7, closed, host);
        EXPECT_EQ(host.titles().empty(), !closed);  // the stage is shown when asked
        ASSERT_EQ(pieces.size(), count);
        for (const BoundaryPiece& p : pieces) {
            EXPECT_EQ(p.closed, closed);
            for (const BoundaryPoint& q : p.points) {
                EXPECT_TRUE(q.x == 0 || q.x == w - 0.5 || std::fmod(q.x, 1.0) == 0.75) << q.x;
                EXPECT_TRUE(q.y == 0 || q.y == h - 0.5 || std::fmod(q.y, 1.0) == 0.75) << q.y;
            }
            if (closed) continue;
            auto on_frame = [&](const BoundaryPoint& q) {
                return q.x == 0 || q.y == 0 || q.x == w - 0.5 || q.y == h - 0.5;
            };
            auto at_junction = [&](const BoundaryPoint& q) { return q.x == 1.75 && q.y == 1.75; };
            if (count == 3)
                EXPECT_NE(at_junction(p.points.front()), at_junction(p.points.back()));
            else
                EXPECT_TRUE(on_frame(p.points.front()) && on_frame(p.points.back()));
        }
    }
}

TEST(SegmentEdges, SimplificationKeepsEndsAndPointsFartherThanTolerance) {
    // name, in, tol, out
    const std::tuple<const char*, P, double, P> cases[] = {
        {"short", {{0, 0}, {1, 5}}, 0.7, {{0, 0}, {1, 5}}},
        {"straight", {{0, 0}, {1, 0.5}, {2, 0}, {3, 0.2}, {4, 0}}, 0.7, {{0, 0}, {4, 0}}},
        {"bump", {{0, 0}, {1, 0}, {2, 1}, {3, 0}, {4, 0}}, 0.7, {{0, 0}, {2, 1}, {4, 0}}},
        {"exactly tolerance stays out", {{0, 0}, {1, 0.7}, {2, 0}}, 0.7, {{0, 0}, {2, 0}}},
        {"beyond the end", {{0, 0}, {5, 0}, {6, 0}, {1, 0}}, 0.7, {{0, 0}, {6, 0}, {1, 0}}},
    };
    for (const auto& [name, in, tol, out] : cases) {
        P pts = in;
        simplify_polyline(pts, tol);
        EXPECT_EQ(xy(pts), xy(out)) << name;
    }
}

TEST(FramePieces, SplitAtOpenEndsRunningClockwiseFromTopLeft) {
    // A vertical border from top to bottom of a 4 x 3 picture at x = 1.75.
    std::vector<BoundaryPiece> pieces(1);
    pieces[0].points = {{1.75, 0}, {1.75, 2.5}};
    add_frame_pieces(pieces, 4, 3);
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(xy(pieces[1].points), xy({{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}}));  // right
    EXPECT_EQ(xy(pieces[2].points), xy({{1.75, 2.5}, {0, 2.5}, {0, 0}, {1.75, 0}}));      // left
    EXPECT_FALSE(pieces[1].closed || pieces[2].closed);
}

BoundaryPiece piece(P pts, bool closed = false) {
    return {closed, 0, std::move(pts)};
}

TEST(ClosedPath, TurningSumOfTable) {
    // name, pts, degrees, passes
    const std::tuple<const char*, P, double, bool> cases[] = {
        {"clockwise on screen", {{0, 0}, {2, 0}, {2, 2}, {0, 2}}, 360, true},
        {"anticlockwise on screen", {{0, 0}, {0, 2}, {2, 2}, {2, 0}}, -360, false},
        {"repeated points skipped", {{0, 0}, {2, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}}, 360, true},
        {"figure eight", {{0, 0}, {2, 2}, {2, 0}, {0, 2}}, 0, false},
    };
    for (const auto& [name, pts, degrees, passes] : cases) {
        EXPECT_NEAR(turning_degrees(pts), degrees, 1e-9) << name;
        EXPECT_EQ(is_closed_path(pts), passes) << name;
    }
}

// Two regions sharing a border give two loops, the border used by both; a closed piece is a loop,
// taken reversed when it turns the other way; one too small is none; a piece that leads nowhere either
// way ends the stage with what was made, and says so only in the debug log. Where two pieces leave a
// point equally straight, the one listed first is taken.
TEST(LoopAssembly, PiecesMakeLoopsEachUsedAsOftenAsItsSides) {
    // From (2, 0) a square and a triangle both leave straight down.
    const BoundaryPiece start = piece({{0, 0}, {2, 0}}), square = piece({{2, 0}, {2, 2}, {0, 2}, {0, 0}}),
                        triangle = piece({{2, 0}, {2, 1}, {0, 0}});
    struct Case {
        const char* what;
        std::vector<BoundaryPiece> pieces;
        std::vector<P> loops;
        std::vector<unsigned> uses;  // per piece; empty: not checked
        std::vector<std::string> debug;
    };
    const Case cases[] = {
        // A vertical border and the frame split at its ends (as the traced edges and the frame give).
        {"two regions",
         {piece({{1.75, 0}, {1.75, 2.5}}), piece({{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}}),
          piece({{1.75, 2.5}, {0, 2.5}, {0, 0}, {1.75, 0}})},
         {{{1.75, 0}, {1.75, 2.5}, {0, 2.5}, {0, 0}}, {{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}}},
         {2, 1, 1},
         {}},
        {"reversed",
         {piece({{0, 0}, {0, 2}, {2, 2}, {2, 0}}, true)},
         {{{2, 0}, {2, 2}, {0, 2}, {0, 0}}},
         {1},
         {}},
        {"too small", {piece({{0, 0}, {1, 0}}, true)}, {}, {}, {}},
        {"leads nowhere",
         {piece({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, true), piece({{10, 10}, {12, 10}}),
          piece({{20, 20}, {22, 20}, {22, 22}, {20, 22}}, true)},
         {{{0, 0}, {2, 0}, {2, 2}, {0, 2}}},
         {},
         {"Too many retrying...\n"}},
        {"square listed first",
         {start, square, triangle},
         {{{0, 0}, {2, 0}, {2, 2}, {0, 2}},
          {{2, 0}, {2, 2}, {0, 2}, {0, 0}, {2, 1}},
          {{2, 0}, {2, 1}, {0, 0}}},
         {2, 2, 2},
         {}},
        {"triangle listed first",
         {start, triangle, square},
         {{{0, 0}, {2, 0}, {2, 1}}, {{2, 0}, {2, 2}, {0, 2}, {0, 0}, {2, 1}}},
         {1, 2, 1},
         {}},
    };
    for (Case c : cases) {
        SCOPED_TRACE(c.what);
        test::RecordingHost host;
        const auto segs = detect_segments(c.pieces, host);
        ASSERT_EQ(segs.size(), c.loops.size());
        for (std::size_t i = 0; i < segs.size(); ++i) {
            EXPECT_EQ(xy(segs[i].loop.points), xy(c.loops[i]));
            EXPECT_TRUE(segs[i].loop.closed);
        }
        for (std::size_t i = 0; i < c.uses.size(); ++i) EXPECT_EQ(c.pieces[i].uses, c.uses[i]) << i;
        EXPECT_EQ(host.debug_lines(), c.debug);
        EXPECT_TRUE(host.messages().empty());
        EXPECT_EQ(host.titles().back(), "Velquinograph");
        host.stop = true;
        EXPECT_TRUE(detect_segments(c.pieces, host).empty()) << "stopped";
    }
}

}  // namespace
}  // namespace velq
