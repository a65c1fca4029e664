#include <gtest/gtest.h>

#include "image/buffer.h"
#include "support/recording_host.h"

namespace velq {
namespace {

TEST(Buffer, CreateFailureLeavesAbsentBufferAndSaysSo) {
    test::RecordingHost host;
    struct Case {
        int w, h, c;
        bool ok;
    } cases[] = {{4, 3, 4, true}, {0, 3, 4, false}, {-1, 3, 1, false}, {100000, 100000, 100, false}};
    for (const Case& k : cases) {
        host.clear();
        UBUFFER b = UBUFFER::create(host, k.w, k.h, k.c);
        EXPECT_EQ(bool(b), k.ok) << k.w << "x" << k.h;
        EXPECT_EQ(host.said("Failed to allocate data"), !k.ok);
        EXPECT_TRUE(k.ok || b.width() == 0);
    }
}

}  // namespace
}  // namespace velq
