#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "image/packbits.h"
#include "image/picture_reader.h"
#include "image/psd_writer.h"
#include "image/replace_file.h"
#include "picture_files.h"
#include "support/pictures.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;

// PackBits decoded as the format describes it, independently of any code under test.
Bytes unpack(const Bytes& in, std::size_t& headers_128) {
    Bytes out;
    for (std::size_t i = 0; i < in.size();) {
        const int n = in[i++];
        if (n == 128) {
            ++headers_128;
        } else if (n < 128) {
            out.insert(out.end(), in.begin() + std::ptrdiff_t(i), in.begin() + std::ptrdiff_t(i + n + 1));
            i += std::size_t(n) + 1;
        } else {
            out.insert(out.end(), std::size_t(257 - n), in[i++]);
        }
    }
    return out;
}

TEST(PackBits, RoundTripsEdgeLengthsRunsAtTheEndAndRandomRows) {
    std::vector<Bytes> rows;
    for (std::size_t n : {1, 2, 3, 127, 128, 129, 130, 255, 256, 257}) {
        Bytes equal(n, 7), distinct(n), run_at_end(n), run_then_one(n, 9);
        for (std::size_t i = 0; i < n; ++i) distinct[i] = std::uint8_t(i * 37);
        for (std::size_t i = 0; i < n; ++i) run_at_end[i] = i + 3 >= n ? 200 : std::uint8_t(i);
        run_then_one.back() = 1;
        rows.insert(rows.end(), {equal, distinct, run_at_end, run_then_one});
    }
    std::mt19937 gen(11);
    for (int r = 0; r < 300; ++r) {
        Bytes row(gen() % 700 + 1);
        for (std::size_t i = 0; i < row.size();) {  // runs of 1..300 bytes from a few values
            const std::size_t len =
                std::min<std::size_t>(gen() % (gen() % 4 == 0 ? 300 : 3) + 1, row.size() - i);
            std::fill_n(row.begin() + std::ptrdiff_t(i), len, std::uint8_t(gen() % 4));
            i += len;
        }
        rows.push_back(row);
    }
    for (const Bytes& row : rows) {
        Bytes coded;
        packbits_encode(row, coded);
        std::size_t headers_128 = 0;
        ASSERT_EQ(unpack(coded, headers_128), row) << row.size();
        EXPECT_EQ(headers_128, 0u);
        EXPECT_LE(coded.size(), row.size() + (row.size() + 127) / 128) << row.size();
    }
    Bytes coded;
    packbits_encode(Bytes(300, 5), coded);
    EXPECT_EQ(coded, (Bytes{129, 5, 129, 5, 213, 5})) << "runs of 128, 128 and 44";
}

// A file read back by a reader written for the test from the format's description.
struct Reader {
    const Bytes& f;
    std::size_t at = 0;
    std::uint32_t u(int n) {
        std::uint32_t v = 0;
        for (int i = 0; i < n; ++i) v = (v << 8) | f.at(at++);
        return v;
    }
    std::string text(std::size_t n) {
        std::string s(f.begin() + std::ptrdiff_t(at), f.begin() + std::ptrdiff_t(at + n));
        at += n;
        return s;
    }
    // The lengths of `rows` PackBits rows of `width` bytes, then the rows, unpacked one after another.
    Bytes packed_rows(std::size_t rows, std::size_t width) {
        std::vector<std::uint32_t> lengths(rows);
        for (auto& n : lengths) n = u(2);
        Bytes out;
        for (std::uint32_t n : lengths) {
            std::size_t headers_128 = 0;
            const Bytes row = unpack(
                Bytes(f.begin() + std::ptrdiff_t(at), f.begin() + std::ptrdiff_t(at + n)), headers_128);
            EXPECT_EQ(row.size(), width);
            out.insert(out.end(), row.begin(), row.end());
            at += n;
        }
        return out;
    }
};

struct TestLayer {
    PsdLayer layer;
    UBUFFER picture;
    int box[4];  // top, left, bottom, right of the painted pixels
    std::string short_name;
    std::u16string full_name;
};

// Built out of line: GCC 12 warns of the name's buffer when the aggregate is a temporary here.
PsdLayer layer(const char* name, bool hidden) {
    return {name, hidden};
}

TEST(PsdWriter, SectionsRecordsNamesFlagsAndPixelsReadBackAndCutFilesAreRefused) {
    const std::string path = test::temp_dir("psd") + "/layers.psd";
    // Background; a patch with soft alpha and holes; a hidden layer with a name beyond Latin-1; an
    // empty layer.
    std::vector<TestLayer> l(4);
    l[0] = {layer("Background", false),
            test::flat_picture(37, 23, 0xFF102030u),
            {0, 0, 23, 37},
            "Background",
            u"Background"};
    l[1] = {layer("Ly1", false),
            test::make_picture(37, 23,
                               [](int x, int y) -> std::uint32_t {
                                   if (x < 5 || x >= 20 || y < 3 || y >= 12 || (x + y) % 5 == 0) return 0;
                                   return std::uint32_t((x * 16) & 255) << 24 | 0x00C08040u |
                                          std::uint32_t(y);
                               }),
            {3, 5, 12, 20},
            "Ly1",
            u"Ly1"};
    l[2] = {layer("Ly2 \xC3\xA9\xE2\x98\x86", true),
            test::noise_picture(37, 23, 4, false),
            {0, 0, 23, 37},
            "Ly2 \xE9?",
            u"Ly2 \u00E9\u2606"};
    l[2].picture.at(0, 0, 3) = 1;  // any alpha but 0 counts as painted
    l[2].picture.at(36, 22, 3) = 1;
    l[3] = {layer("Empty", false), test::flat_picture(37, 23, 0), {0, 0, 0, 0}, "Empty", u"Empty"};
    std::vector<PsdLayer> layers;
    for (const auto& t : l) layers.push_back(t.layer);
    const UBUFFER merged = test::noise_picture(37, 23, 9);
    ASSERT_TRUE(replace_file_with(path, [&](std::FILE* file) {
        return write_psd(file, merged, 300, layers, [&](int i, UBUFFER& p) {
                   std::memcpy(p.data(), l[std::size_t(i)].picture.data(), p.size());
                   return true;
               }) == PsdResult::Written;
    }));
    const Bytes f = test::file_content(path);
    // The header (4 channels, 23 rows of 37, 8 bits, RGB), no colour mode data, and one resource: 300
    // pixels per inch (16.16) across and down.
    const Bytes head = {'8', 'B', 'P', 'S', 0, 1,  0, 0, 0, 0, 0, 0, 0,  4,   0,   0,   0,   23, 0,    0, 0,
                        37,  0,   8,   0,   3, 0,  0, 0, 0, 0, 0, 0, 28, '8', 'B', 'I', 'M', 3,  0xED, 0, 0,
                        0,   0,   0,   16,  1, 44, 0, 0, 0, 1, 0, 1, 1,  44,  0,   0,   0,   1,  0,    1};
    ASSERT_EQ(Bytes(f.begin(), f.begin() + std::ptrdiff_t(head.size())), head);
    Reader r{f, head.size()};

    const std::uint32_t layer_and_mask = r.u(4);
    const std::size_t layer_and_mask_end = r.at + layer_and_mask;
    EXPECT_EQ(r.u(4) % 2, 0u) << "layer info length";
    EXPECT_EQ(std::int16_t(r.u(2)), -4) << "negative count: the merged alpha is transparency";
    std::vector<std::array<std::uint32_t, 4>> lengths;
    for (const TestLayer& t : l) {
        for (int k = 0; k < 4; ++k) EXPECT_EQ(std::int32_t(r.u(4)), t.box[k]) << t.short_name;
        EXPECT_EQ(r.u(2), 4u);
        std::array<std::uint32_t, 4> len{};
        for (int c = 0; c < 4; ++c) {
            EXPECT_EQ(std::int16_t(r.u(2)), c - 1);
            len[std::size_t(c)] = r.u(4);
        }
        lengths.push_back(len);
        EXPECT_EQ(r.text(8), "8BIMnorm");
        EXPECT_EQ(r.u(1), 255u);
        EXPECT_EQ(r.u(1), 0u);
        EXPECT_EQ(r.u(1), t.layer.hidden ? 0x0Au : 0x08u) << t.short_name;
        r.at += 1;
        const std::size_t extra_end = r.u(4) + r.at + 4;
        EXPECT_EQ(r.u(4), 0u);
        EXPECT_EQ(r.u(4), 0u);
        const std::size_t name_at = r.at;
        EXPECT_EQ(r.text(r.u(1)), t.short_name);
        r.at = name_at + (r.at - name_at + 3) / 4 * 4;
        EXPECT_EQ(r.text(8), "8BIMluni");
        const std::size_t uni_end = r.u(4) + r.at + 4;
        std::u16string name(r.u(4), u' ');
        for (auto& ch : name) ch = char16_t(r.u(2));
        EXPECT_EQ(name, t.full_name);
        EXPECT_EQ(uni_end % 2, 0u);
        r.at = extra_end - 4;
    }
    for (std::size_t i = 0; i < l.size(); ++i) {
        const auto& b = l[i].box;
        const std::size_t rows = std::size_t(b[2] - b[0]), width = std::size_t(b[3] - b[1]);
        for (int c = 0; c < 4; ++c) {
            const std::size_t start = r.at;
            // Compression 1, row lengths, rows; or compression 0 with no pixels.
            EXPECT_EQ(r.u(2), rows == 0 ? 0u : 1u);
            const Bytes pixels = rows == 0 ? Bytes() : r.packed_rows(rows, width);
            EXPECT_EQ(r.at - start, lengths[i][std::size_t(c)]) << i << " " << c;
            const int byte = c == 0 ? 3 : 3 - c;  // alpha, then red, green, blue of a BGRA pixel
            for (std::size_t y = 0; y < rows; ++y)
                for (std::size_t x = 0; x < width; ++x)
                    ASSERT_EQ(pixels[y * width + x], l[i].picture.at(b[1] + int(x), b[0] + int(y), byte))
                        << i;
        }
    }
    r.at = layer_and_mask_end - 4;
    EXPECT_EQ(r.u(4), 0u) << "global mask";

    // The merged picture: compression 1, then red, green, blue and alpha planes, all row lengths first.
    EXPECT_EQ(r.u(2), 1u);
    const Bytes planes = r.packed_rows(4 * 23, 37);
    ASSERT_EQ(planes.size(), 4u * 23 * 37);
    for (int c = 0; c < 4; ++c)
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 37; ++x)
                ASSERT_EQ(planes[std::size_t((c * 23 + y) * 37 + x)], merged.at(x, y, c == 3 ? 3 : 2 - c));
    EXPECT_EQ(r.at, f.size()) << "the sections add up to the file";

    // The program's own reader opens the merged picture with its resolution, and refuses the file cut
    // short anywhere rather than misread it.
    const PictureRead back = read_picture(path);
    ASSERT_TRUE(back);
    EXPECT_EQ(back.dpi, 300);
    EXPECT_TRUE(test::same_bytes(back.picture, merged));
    for (std::size_t n = 0; n < f.size(); n += 13)
        EXPECT_FALSE(decode_picture(std::span(f.data(), n))) << "cut at " << n;
}

TEST(PsdWriter, RefusesOversizedPicturesAndStopsWhenAskedWithoutLeavingAFile) {
    const std::string dir = test::temp_dir("psd-refused");
    const std::vector<PsdLayer> one{{"Background", false}};
    int painted = 0;
    const auto paint = [&](int, UBUFFER&) { return ++painted < 0; };
    struct Case {
        int w, h;
        PsdResult want;
    } cases[] = {
        {30001, 1, PsdResult::TooLarge}, {1, 30001, PsdResult::TooLarge}, {3, 2, PsdResult::Stopped}};
    for (const auto& c : cases) {
        UBUFFER merged;
        ASSERT_TRUE(merged.allocate(c.w, c.h, 4));
        PsdResult result{};
        EXPECT_FALSE(replace_file_with(dir + "/x.psd", [&](std::FILE* f) {
            result = write_psd(f, merged, 96, one, paint);
            return result == PsdResult::Written;
        }));
        EXPECT_EQ(result, c.want) << c.w << "x" << c.h;
    }
    EXPECT_EQ(painted, 1) << "an oversized picture is refused before any layer is painted";
    EXPECT_TRUE(std::filesystem::is_empty(dir));
}

}  // namespace
}  // namespace velq
