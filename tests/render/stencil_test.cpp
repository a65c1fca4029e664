#include <gtest/gtest.h>

#include <random>

#include "reference.h"
#include "render/stencil.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// The table only sums the box that holds ink; every side is still the plane resize, wherever that
// box lies (touching an edge, one pixel, none), and the two planes stay apart in the shared sums.
TEST(Stencil, EqualsThePlaneResizeWhereverTheInkLies) {
    test::RecordingHost host;
    struct Case {
        const char* what;
        int x0, y0, x1, y1;  // ink box, inclusive; x1 < x0: no ink
    };
    const Case cases[] = {
        {"whole square", 0, 0, 1023, 1023},
        {"off-centre box", 70, 401, 388, 500},
        {"lower right corner", 1000, 990, 1023, 1023},
        {"top row", 3, 0, 1020, 0},
        {"one pixel", 517, 9, 517, 9},
        {"no ink", 1, 1, 0, 0},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        std::mt19937 gen(unsigned(k.x0 + k.y1));
        // Full opacity and full shade side by side stress the split of the two sums.
        auto shape = test::make_shape(host, [&](int x, int y) {
            if (x < k.x0 || x > k.x1 || y < k.y0 || y > k.y1) return std::pair{0, 0};
            const int v = int(gen() & 255);
            return std::pair{v < 40 ? 0 : 255 - v / 8, v < 80 ? 255 : v};
        });
        PlaneTable table;
        ASSERT_TRUE(table.build(shape->shade_plane, shape->mask_plane,
                                find_ink(shape->shade_plane, shape->mask_plane)));
        for (const int d : {1, 2, 3, 7, 31, 64, 97, 255, 511, 1000, 1023, 1024, 1300}) {
            const auto st = build_stencil(host, shape->shade_plane, shape->mask_plane, &table, d);
            ASSERT_TRUE(st);
            EXPECT_TRUE(test::same_bytes(st->planes, test::reference_stencil(host, *shape, d)))
                << "side " << d;
        }
    }
}

// The caches sharing a budget keep no more than it together; a render's sides push out an earlier
// render's, and what still does not fit is handed to the caller and found by get() while held.
TEST(StencilCache, SharedBudgetBoundsWhatIsKept) {
    test::RecordingHost host;
    auto a = test::make_shape(host, [](int x, int y) { return std::pair{x & 255, (x ^ y) & 255}; });
    auto b = test::make_shape(host, [](int x, int) { return std::pair{255, x < 600 ? 255 : 0}; });
    const auto bytes = [](int d) { return std::size_t(d) * d * 2 + 2 * std::size_t(d) * sizeof(int); };
    auto budget = std::make_shared<StencilBudget>(bytes(100) + bytes(80));
    a->stencils.share(budget);
    b->stencils.share(budget);
    PlaneTable table;
    std::vector<std::shared_ptr<const Stencil>> held;
    const int first[] = {60, 100};
    a->stencils.prepare(host, a->shade_plane, a->mask_plane, first, table, held);
    EXPECT_TRUE(held.empty());
    EXPECT_EQ(budget->used(), bytes(100) + bytes(60));

    const int second[] = {70};  // b's side does not fit beside a's
    b->stencils.prepare(host, b->shade_plane, b->mask_plane, second, table, held);
    ASSERT_EQ(held.size(), 1u);
    EXPECT_EQ(b->stencils.size(), 0u);
    EXPECT_EQ(b->stencils.get(host, b->shade_plane, b->mask_plane, 70), held[0]);
    const auto lent = b->stencils.get(host, b->shade_plane, b->mask_plane, 90);
    EXPECT_EQ(b->stencils.get(host, b->shade_plane, b->mask_plane, 90), lent);

    const int third[] = {100, 80};  // a's side 60 makes room for 80
    a->stencils.prepare(host, a->shade_plane, a->mask_plane, third, table, held);
    EXPECT_EQ(a->stencils.size(), 2u);
    EXPECT_EQ(budget->used(), budget->limit());
    a.reset();  // a shape going away gives its share back
    EXPECT_EQ(budget->used(), 0u);
    EXPECT_TRUE(host.messages().empty());
}

}  // namespace
}  // namespace velq
