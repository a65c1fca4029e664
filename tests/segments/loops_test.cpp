#include <gtest/gtest.h>

#include <cmath>

#include "segments/loops.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using P = std::vector<BoundaryPoint>;

std::vector<std::pair<double, double>> xy(const P& pts) {
    std::vector<std::pair<double, double>> out;
    for (const BoundaryPoint& p : pts) out.emplace_back(p.x, p.y);
    return out;
}

BoundaryPiece piece(P pts, bool closed = false) {
    BoundaryPiece p;
    p.points = std::move(pts);
    p.closed = closed;
    return p;
}

TEST(ClosedPath, TurningSumOfTable) {
    struct Case {
        const char* name;
        P pts;
        double degrees;
        bool passes;
    } cases[] = {
        {"clockwise on screen", {{0, 0}, {2, 0}, {2, 2}, {0, 2}}, 360, true},
        {"anticlockwise on screen", {{0, 0}, {0, 2}, {2, 2}, {2, 0}}, -360, false},
        {"repeated points skipped", {{0, 0}, {2, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}}, 360, true},
        {"figure eight", {{0, 0}, {2, 2}, {2, 0}, {0, 2}}, 0, false},
        {"triangle", {{0, 0}, {3, 0}, {0, 4}}, 360, true},
    };
    for (const Case& c : cases) {
        EXPECT_NEAR(turning_degrees(c.pts), c.degrees, 1e-9) << c.name;
        EXPECT_EQ(is_closed_path(c.pts), c.passes) << c.name;
    }
}

TEST(LoopAssembly, TwoRegionsSharingABorderGiveTwoLoopsEachOnce) {
    // A vertical border and the frame split at its ends (as the traced edges and the frame give).
    std::vector<BoundaryPiece> pieces = {
        piece({{1.75, 0}, {1.75, 2.5}}),
        piece({{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}}),
        piece({{1.75, 2.5}, {0, 2.5}, {0, 0}, {1.75, 0}}),
    };
    test::RecordingHost host;
    auto segs = detect_segments(pieces, host);
    ASSERT_EQ(segs.size(), 2u);
    EXPECT_EQ(xy(segs[0].loop.points), xy({{1.75, 0}, {1.75, 2.5}, {0, 2.5}, {0, 0}}));
    EXPECT_EQ(xy(segs[1].loop.points), xy({{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}}));
    EXPECT_TRUE(segs[0].loop.closed && segs[1].loop.closed);
    EXPECT_EQ(pieces[0].uses + 10 * pieces[1].uses + 100 * pieces[2].uses, 112u);  // 2, 1 and 1
    EXPECT_TRUE(host.debug_lines().empty());
}

// A closed piece is a loop, taken reversed when it turns the other way; one too small is none; the
// stop flag leaves none.
TEST(LoopAssembly, ClosedPieceIsALoopTakenReversedWhenItTurnsTheOtherWay) {
    std::vector<BoundaryPiece> pieces = {piece({{0, 0}, {0, 2}, {2, 2}, {2, 0}}, true)};
    test::RecordingHost host;
    auto segs = detect_segments(pieces, host);
    ASSERT_EQ(segs.size(), 1u);
    EXPECT_EQ(xy(segs[0].loop.points), xy({{2, 0}, {2, 2}, {0, 2}, {0, 0}}));
    EXPECT_EQ(pieces[0].uses, 1u);
    std::vector<BoundaryPiece> tiny = {piece({{0, 0}, {1, 0}}, true)};
    EXPECT_TRUE(detect_segments(tiny, host).empty());
    EXPECT_TRUE(host.debug_lines().empty());
    host.stop = true;
    EXPECT_TRUE(detect_segments(pieces, host).empty());
}

TEST(LoopAssembly, EqualScoresGoToTheEarlierPieceInListOrder) {
    // From (2, 0) two pieces leave straight down: the first listed closes a square, the other a
    // triangle.
    const BoundaryPiece start = piece({{0, 0}, {2, 0}});
    const BoundaryPiece square = piece({{2, 0}, {2, 2}, {0, 2}, {0, 0}});
    const BoundaryPiece triangle = piece({{2, 0}, {2, 1}, {0, 0}});
    for (bool square_first : {true, false}) {
        std::vector<BoundaryPiece> pieces = {start, square_first ? square : triangle,
                                             square_first ? triangle : square};
        test::RecordingHost host;
        auto segs = detect_segments(pieces, host);
        ASSERT_FALSE(segs.empty());
        EXPECT_EQ(segs[0].loop.points.size(), square_first ? 4u : 3u);
    }
}

TEST(LoopAssembly, PieceFailingBothWaysEndsTheStageWithWhatWasMade) {
    std::vector<BoundaryPiece> pieces = {
        piece({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, true),
        piece({{10, 10}, {12, 10}}),  // leads nowhere either way
        piece({{20, 20}, {22, 20}, {22, 22}, {20, 22}}, true),
    };
    test::RecordingHost host;
    auto segs = detect_segments(pieces, host);
    EXPECT_EQ(segs.size(), 1u);
    ASSERT_EQ(host.debug_lines().size(), 1u);
    EXPECT_EQ(host.debug_lines()[0], "Too many retrying...\n");
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(host.titles().back(), "Velquinograph");
}

}  // namespace
}  // namespace velq
