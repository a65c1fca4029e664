#include <gtest/gtest.h>

#include <cmath>

#include "segments/loops.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using P = std::vector<BoundaryPoint>;

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
    const P left = {{1.75, 0}, {1.75, 2.5}, {0, 2.5}, {0, 0}};
    const P right = {{1.75, 0}, {3.5, 0}, {3.5, 2.5}, {1.75, 2.5}};
    for (int k = 0; k < 2; ++k) {
        const P& want = k == 0 ? left : right;
        ASSERT_EQ(segs[k].loop.points.size(), want.size()) << k;
        EXPECT_TRUE(segs[k].loop.closed);
        for (std::size_t i = 0; i < want.size(); ++i) {
            EXPECT_EQ(segs[k].loop.points[i].x, want[i].x) << k << " " << i;
            EXPECT_EQ(segs[k].loop.points[i].y, want[i].y) << k << " " << i;
        }
    }
    EXPECT_EQ(pieces[0].uses, 2u);
    EXPECT_EQ(pieces[1].uses, 1u);
    EXPECT_EQ(pieces[2].uses, 1u);
    EXPECT_TRUE(host.debug_lines().empty());
    EXPECT_EQ(host.titles().front(), "Velquinograph (Detecting segments...)");
    EXPECT_EQ(host.titles().back(), "Velquinograph");
}

TEST(LoopAssembly, ClosedPieceIsALoopTakenReversedWhenItTurnsTheOtherWay) {
    std::vector<BoundaryPiece> pieces = {piece({{0, 0}, {0, 2}, {2, 2}, {2, 0}}, true)};
    test::RecordingHost host;
    auto segs = detect_segments(pieces, host);
    ASSERT_EQ(segs.size(), 1u);
    EXPECT_TRUE(is_closed_path(segs[0].loop.points));
    EXPECT_EQ(segs[0].loop.points.front().x, 2);  // the piece reversed
    EXPECT_EQ(pieces[0].uses, 1u);
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

TEST(LoopAssembly, TooSmallOrStoppedMakesNoSegment) {
    std::vector<BoundaryPiece> pieces = {piece({{0, 0}, {1, 0}}, true)};
    test::RecordingHost host;
    EXPECT_TRUE(detect_segments(pieces, host).empty());
    EXPECT_TRUE(host.debug_lines().empty());
    std::vector<BoundaryPiece> square = {piece({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, true)};
    host.stop = true;
    EXPECT_TRUE(detect_segments(square, host).empty());
}

}  // namespace
}  // namespace velq
