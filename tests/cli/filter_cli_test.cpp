#include <gtest/gtest.h>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

// The filtered working picture keeps the source's resolution; a seed repeats the random filters.
TEST(FilterCli, WritesTheFilteredPictureAndASeedRepeatsIt) {
    const std::string dir = test::temp_dir("cli-filter");
    const std::string in = dir + "/in.png";
    ASSERT_EQ(write_picture(in, test::noise_picture(48, 32, 5), 150), PictureError::None);
    auto filtered = [&](const std::string& seed) {
        const std::string out = dir + "/out-" + seed + ".png";
        const test::CliResult r = test::run_cli(
            {"filter", in, "-o", out, "--int", "3", "--filter", "half-shuffle", "--seed", seed});
        EXPECT_EQ(r.exit_code, 0) << r.err;
        EXPECT_TRUE(r.out.empty()) << "nothing but requested output goes to stdout";
        return read_picture(out);
    };
    const PictureRead a = filtered("7"), b = filtered("7"), c = filtered("8");
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(a.picture.width(), 142);  // (48 - 1) * 3 + 1
    EXPECT_EQ(a.picture.height(), 94);
    EXPECT_EQ(a.dpi, 150);
    auto same = [](const UBUFFER& x, const UBUFFER& y) {
        return std::equal(x.data(), x.data() + x.size(), y.data());
    };
    EXPECT_TRUE(same(a.picture, b.picture));
    EXPECT_FALSE(same(a.picture, c.picture));
}

}  // namespace
}  // namespace velq
