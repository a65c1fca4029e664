#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "filters/channel_rotation.h"
#include "filters/cut_line.h"

namespace velq {
namespace {

using Rotation = void (*)(std::uint8_t*, int, int);

TEST(ChannelRotation, MovesChannelsAndShiftsTheWrappedOneBySixty) {
    struct Case {
        const char* name;
        Rotation fn;
        std::uint8_t in[4];
        std::uint8_t out[4];
    } cases[] = {
        {"up", rotate_up, {10, 20, 30, 7}, {20, 30, 70, 7}},
        {"up caps 200 at 255", rotate_up, {200, 1, 2, 0}, {1, 2, 255, 0}},
        {"up 195 is exactly 255", rotate_up, {195, 1, 2, 9}, {1, 2, 255, 9}},
        {"down 59 becomes 0", rotate_down, {59, 1, 2, 3}, {1, 2, 0, 3}},
        {"down 60 becomes 0", rotate_down, {60, 1, 2, 3}, {1, 2, 0, 3}},
        {"down 61 becomes 1", rotate_down, {61, 1, 2, 3}, {1, 2, 1, 3}},
        {"down 255", rotate_down, {255, 4, 5, 255}, {4, 5, 195, 255}},
        {"matrix up", matrix_rotate_up, {10, 20, 30, 40}, {30, 70, 20, 40}},
        {"matrix up caps 200", matrix_rotate_up, {200, 20, 30, 40}, {30, 255, 20, 40}},
        {"matrix down 59", matrix_rotate_down, {59, 20, 30, 40}, {30, 0, 20, 40}},
        {"matrix down 60", matrix_rotate_down, {60, 20, 30, 40}, {30, 0, 20, 40}},
        {"matrix down 61", matrix_rotate_down, {61, 20, 30, 40}, {30, 1, 20, 40}},
    };
    for (const Case& c : cases) {
        // The pixel sits between two others that the range leaves alone.
        std::vector<std::uint8_t> row = {1, 2, 3, 4, c.in[0], c.in[1], c.in[2], c.in[3], 5, 6, 7, 8};
        c.fn(row.data(), 1, 2);
        const std::vector<std::uint8_t> want = {1,        2,        3, 4, c.out[0], c.out[1],
                                                c.out[2], c.out[3], 5, 6, 7,        8};
        EXPECT_EQ(row, want) << c.name;
    }
}

TEST(CutLine, RunsTopToBottomWithOneDrawPerInnerPoint) {
    for (double x0 : {0.3, 0.5, 0.65}) {
        Random rng(1234), check(1234);
        const CutLine line = make_cut_line(rng, x0);
        EXPECT_EQ(std::pair(line.front().x, line.front().y), std::pair(x0, 0.0));
        EXPECT_EQ(std::pair(line.back().x, line.back().y), std::pair(x0, 1.0));
        for (int i = 1; i < kCutPoints - 1; ++i) {
            EXPECT_DOUBLE_EQ(line[i].x, x0 + 0.1 - check.next() * 0.2 / 32767.0) << i;
            EXPECT_DOUBLE_EQ(line[i].y, i * 0.02);
        }
        // The next line made from this generator would start where the 48 draws left it.
        EXPECT_EQ(rng.next(), check.next());
    }
}

TEST(CutLine, WalkMeetsEveryRowOnceInOrder) {
    struct Case {
        int width, height;
        std::uint32_t seed;
    } cases[] = {{9, 40, 1}, {100, 100, 7}, {640, 33, 99}, {30, 1, 5}, {2000, 1500, 3}};
    for (const Case& c : cases) {
        Random rng(c.seed);
        const CutLine px = scale_cut_line(make_cut_line(rng, 0.5), c.width, c.height);
        const std::vector<CutStep> steps = walk_cut_line(px, c.height);
        ASSERT_EQ(int(steps.size()), c.height) << c.width << "x" << c.height;
        for (int i = 0; i < c.height; ++i) {
            const int col = cut_column(steps[i], c.width);
            ASSERT_EQ(steps[i].row, i);
            ASSERT_TRUE(col >= int(0.4 * c.width) - 1 && col <= int(0.6 * c.width) + 1) << col;
        }
    }
}

}  // namespace
}  // namespace velq
