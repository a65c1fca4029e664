#include <gtest/gtest.h>

#include "app/vectorize_driver.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

UBUFFER blocks() {
    return test::make_picture(48, 40, [](int x, int y) -> std::uint32_t {
        if (x >= 10 && x < 20 && y >= 12 && y < 22) return 0xFF2040C0u;
        if (x >= 6 && x < 30 && y >= 6 && y < 34) return 0xFFC04020u;
        if (x >= 34) return 0xFF30A030u;
        return 0xFFF0F0F0u;
    });
}

TEST(VectorizeDriver, FillsPiecesSegmentsLabelMapAndCountsEveryCircle) {
    // The picture sits in the filtered buffer, or only in the working one.
    for (const bool filtered : {true, false}) {
        test::RecordingHost host;
        Document doc(host);
        doc.working = blocks();
        if (filtered) {
            doc.filtered = blocks();
            doc.working = test::flat_picture(48, 40, 0xFF000000u);  // must not be read
        }
        doc.settings.interpolation = 1, doc.settings.max_size = 0.1, doc.settings.min_size = 0.02;
        const std::size_t count = do_vectorize(doc, host).value_or(0);
        ASSERT_GE(doc.segments.size(), 3u);
        EXPECT_FALSE(doc.pieces.empty());
        ASSERT_EQ(doc.label_map.width(), 48);
        std::size_t sum = 0;
        for (const Segment& s : doc.segments) sum += s.circles.size();
        EXPECT_GT(count, 0u);
        EXPECT_EQ(count, sum);
        const std::uint32_t label = doc.label_map.at(15, 16);  // in the blue blob
        EXPECT_TRUE(label >= 1 && label <= doc.segments.size());
        EXPECT_TRUE(host.messages().empty());
        // The source of the transform is untouched: it worked on a copy.
        EXPECT_EQ((filtered ? doc.filtered : doc.working).at(0, 0, 0), 0xF0);
    }
}

}  // namespace
}  // namespace velq
