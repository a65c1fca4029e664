#include <gtest/gtest.h>

#include <tuple>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/run_cli.h"

namespace velq {
namespace {

// The filtered working picture keeps the source's resolution and the seed chooses the random filters'
// pattern. --impact puts Broken glass's crushed spot where asked: on flat grey it is the one place
// where every crack meets, so the pixels round it change while the spot itself keeps its grey.
TEST(FilterCli, ImpactAndSeedPlaceTheBrokenGlass) {
    const std::string dir = test::temp_dir("cli-filter");
    const std::string in = dir + "/in.png";
    ASSERT_EQ(write_picture(in, test::flat_picture(48, 32, 0xFF808080u), 150), PictureError::None);
    auto filtered = [&](const std::string& seed) {
        const std::string out = dir + "/out-" + seed + ".png";
        const test::CliResult r = test::run_cli({"filter", in, "-o", out, "--seed", seed, "--int", "3",
                                                 "--filter", "broken-glass", "--impact", "0.25,0.5"});
        EXPECT_EQ(r.exit_code, 0) << r.err;
        EXPECT_TRUE(r.out.empty()) << "nothing but requested output goes to stdout";
        return read_picture(out);
    };
    const PictureRead p = filtered("4"), other = filtered("8");
    ASSERT_TRUE(p && other);
    EXPECT_EQ(std::tuple(p.picture.width(), p.picture.height(), p.dpi), std::tuple(142, 94, 150));
    EXPECT_FALSE(test::same_bytes(p.picture, other.picture));
    const int cx = int(0.25 * p.picture.width()), cy = int(0.5 * p.picture.height());
    EXPECT_EQ(p.picture.at(cx, cy, 1), 0x80);
    int changed = 0;
    for (int y = cy - 8; y <= cy + 8; ++y)
        for (int x = cx - 8; x <= cx + 8; ++x) changed += p.picture.at(x, y, 1) != 0x80;
    EXPECT_GT(changed, 40);
}

}  // namespace
}  // namespace velq
