#include "app/metadata.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "persistence/settings_block_file.h"
#include "support/blocks.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

void write_bytes(const std::string& path, const Bytes& b) {
    std::ofstream f(path, std::ios::binary);
    f.write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}

// A Document whose settings and layers are all away from their defaults.
void change_everything(Document& doc) {
    Settings& s = doc.rendered_settings;
    s.interpolation = 9;
    s.blur = 4;
    s.threshold = 41;
    s.out_width = 640;
    s.out_height = 480;
    s.dpi = 150;
    s.dilation = 3;
    s.gap = 2;
    s.k_mean = 5;
    s.filter_kind = 5;
    s.transform_mode = 1;
    s.max_size = 0.035;
    s.min_size = 0.0025;
    doc.settings = s;
    doc.settings.threshold = 99;  // changed after the render: not what Save records
    doc.path = "pictures/../pictures/source.png";
    doc.flag_byte = true;
    doc.cycling[4] = doc.cycling[20] = false;
    Layer& l = doc.layers[3];
    l.transparency = 77;
    l.size = 250;
    l.brightness = 180;
    l.palette = 6;
    l.random = l.convert = true;
    l.shown = false;
    l.passage = u"abc";
    l.anim.motion = 2;
    l.anim.duration = 8.5;
    l.font.face = "DejaVu Serif";
}

TEST(Metadata, BlockOfTheDocumentHoldsTheRenderedSnapshotAndEveryLayer) {
    test::RecordingHost host;
    Document doc(host);
    change_everything(doc);
    SettingsBlock block;
    ASSERT_EQ(make_settings_block(doc, true, block), "");
    const SettingsRecord& r = block.settings;
    EXPECT_TRUE(fs::path(r.source_path).is_absolute());
    EXPECT_EQ(fs::path(r.source_path).filename(), "source.png");
    EXPECT_EQ(r.source_path.find(".."), std::string::npos);
    EXPECT_EQ(r.threshold, 41);
    EXPECT_EQ(r.interpolation, 9);
    EXPECT_EQ(r.out_width, 640);
    EXPECT_EQ(r.dpi, 150);
    EXPECT_EQ(r.filter_kind, 5);
    EXPECT_EQ(r.max_size, 0.035f);
    EXPECT_EQ(r.flag_byte, 1);
    EXPECT_EQ(r.cycling[3], 1);
    EXPECT_EQ(r.cycling[4], 0);
    EXPECT_EQ(r.cycling[20], 0);
    ASSERT_EQ(block.layers.size(), 9u);
    const LayerRecord& l = block.layers[3].record;
    EXPECT_EQ(l.transparency, 77);
    EXPECT_EQ(l.palette, 6);
    EXPECT_TRUE(l.random && l.convert && !l.shown);
    EXPECT_EQ(l.anim.motion, 2);
    EXPECT_EQ(l.font.face, "DejaVu Serif");
    EXPECT_EQ(block.layers[3].passage, u"abc");
    // Layers 0 and 1 paint the default disc and store no paths; the others hold nothing.
    EXPECT_TRUE(block.layers[0].record.first_shape_only && block.layers[0].record.has_shapes);
    EXPECT_FALSE(block.layers[5].record.has_shapes);

    SettingsBlock current;
    ASSERT_EQ(make_settings_block(doc, false, current), "");
    EXPECT_EQ(current.settings.threshold, 99);
}

TEST(Metadata, SizeFractionsComeBackAsTheWindowShowsThem) {
    const struct {
        double typed, restored;
    } cases[] = {{0.02, 0.02}, {0.0005, 0.0005}, {0.035, 0.035}, {0.1234567, 0.123457}, {0.0000004, 0.0}};
    for (auto c : cases) EXPECT_EQ(restored_size_fraction(float(c.typed)), c.restored) << c.typed;
}

TEST(Metadata, DetectSaysWhatIsWrongWithAFile) {
    const std::string dir = test::temp_dir("metadata_detect");
    Bytes good = test::fake_picture(100), tail;
    ASSERT_EQ(encode_file_block(test::sample_block(), tail), "");
    good.insert(good.end(), tail.begin(), tail.end());
    Bytes old_version = good;
    old_version[100 + 4112] = 3;
    Bytes long_l = good;
    long_l[good.size() - 15] = 0x7F;  // the top byte of L
    const Bytes sig(reinterpret_cast<const std::uint8_t*>("Velquinograph"),
                    reinterpret_cast<const std::uint8_t*>("Velquinograph") + 14);

    struct Case {
        const char* name;
        Bytes content;
        bool found;
        std::string message;  // "" for none; "PATH" stands for the file's path
    };
    const Case cases[] = {
        {"good.png", good, true, ""},
        {"plain.png", test::fake_picture(4000), false, ""},
        {"old.png", old_version, false, "Found a meta data of the previous version. (PATH)"},
        {"long.png", long_l, false, "Invalid metadata found!"},
        {"tiny.png", sig, false, "Invalid metadata found!"},
        {"empty.png", {}, false, ""},
    };
    for (const auto& c : cases) {
        const std::string path = dir + "/" + c.name;
        write_bytes(path, c.content);
        test::RecordingHost host;
        EXPECT_EQ(detect_metadata(host, path), c.found) << c.name;
        std::string want = c.message;
        if (auto at = want.find("PATH"); at != std::string::npos) want.replace(at, 4, path);
        EXPECT_EQ(host.messages(), want.empty() ? std::vector<std::string>{} : std::vector<std::string>{want})
            << c.name;
    }
    test::RecordingHost host;
    EXPECT_FALSE(detect_metadata(host, dir + "/missing.png"));
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Failed to open file - " + dir + "/missing.png"});
    fs::remove_all(dir);
}

TEST(Metadata, WrittenAndCopiedBlocksReadBackAsTheDocument) {
    const std::string dir = test::temp_dir("metadata_write");
    test::RecordingHost host;
    Document doc(host);
    change_everything(doc);
    SettingsBlock want;
    ASSERT_EQ(make_settings_block(doc, true, want), "");

    const std::string path = dir + "/result.png";
    write_bytes(path, test::fake_picture(1000));
    ASSERT_EQ(write_metadata(doc, host, path), 0);
    SettingsBlock back;
    ASSERT_TRUE(read_metadata_block(host, path, back));
    EXPECT_EQ(back, want);
    EXPECT_EQ(fs::file_size(path), 1000 + test::entry_offset(want, 9) + 18);

    // The clipboard carries the rendered settings once a render exists, the current ones before.
    doc.rendered = true;
    SettingsBlock pasted;
    ASSERT_EQ(decode_block_body(copy_metadata(doc, host), pasted), BlockStatus::Ok);
    EXPECT_EQ(pasted, want);
    doc.rendered = false;
    ASSERT_EQ(decode_block_body(copy_metadata(doc, host), pasted), BlockStatus::Ok);
    EXPECT_EQ(pasted.settings.threshold, 99);
    EXPECT_TRUE(host.messages().empty());

    // A source path that cannot be stored: the message, no bytes, the file left as it was.
    doc.path = "/" + std::string(5000, 'p');
    EXPECT_TRUE(copy_metadata(doc, host).empty());
    EXPECT_EQ(write_metadata(doc, host, path), -1);
    EXPECT_EQ(host.messages().size(), 2u);
    EXPECT_NE(host.messages()[0].find("too long"), std::string::npos);
    EXPECT_EQ(fs::file_size(path), 1000 + test::entry_offset(want, 9) + 18);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace velq
