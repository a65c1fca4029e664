#include "app/metadata.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <tuple>

#include "image/picture_writer.h"
#include "persistence/settings_block_file.h"
#include "render/passage_shapes.h"
#include "support/blocks.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// A shape picture file: 1024 wide is enough for a shape.
std::string shape_file(const std::string& dir, const std::string& name, std::uint32_t seed) {
    const std::string path = dir + "/" + name;
    EXPECT_EQ(write_picture(path, test::noise_picture(1024, 24, seed), 96), PictureError::None);
    return path;
}

auto layer_fields(const Layer& l) {
    return std::tuple(l.transparency, l.size, l.brightness, l.palette, l.shape_cursor, l.passage_cursor,
                      l.anim.name, l.anim.duration, l.anim.motion, l.anim.scan, l.anim.count,
                      l.anim.motion_time, l.anim.timestamp, l.passage_mode, l.case_folding,
                      l.first_shape_only, l.random, l.shuffle, l.invert, l.convert, l.shown, l.font.face,
                      l.font.height, l.font.weight, l.font.italic, l.passage_style, l.keep_blanks,
                      l.shapes.size(), l.current == nullptr);
}

auto settings_fields(const Settings& s) {
    return std::tuple(s.interpolation, s.blur, s.threshold, s.gap, s.dilation, s.k_mean, s.filter_kind,
                      s.transform_mode, s.max_size, s.min_size, s.out_width, s.out_height, s.dpi, s.alphabet);
}

// Layers changed in every field the window or the tool can change, as the window's edits set them.
void change_layers(Document& doc, Host& host, const std::string& dir) {
    const std::vector<std::string> files = {shape_file(dir, "leaf.png", 1), shape_file(dir, "star.png", 2)};
    for (int i = 0; i < Layer::kCount; ++i) {
        Layer& l = doc.layers[std::size_t(i)];
        l.set_transparency(250 - 10 * i);
        l.set_size(90 + 20 * i);
        l.set_brightness(80 + 40 * i);
        l.palette = i;
        l.random = i % 2 == 0;
        l.shuffle = i % 3 == 0;
        l.invert = i % 4 == 0;
        l.convert = i % 5 == 0;
        l.shown = i != 6;
        l.anim = {"", 2.5 + i, i % 6, 7 - i % 8, i, 0.5 * i, 0.125 * i};
        l.font = {i == 4 ? "Liberation Serif" : "Courier New", i, 100 * i, i == 4};
        l.passage = u"Passage " + std::u16string(1, char16_t(u'A' + i));
    }
    ASSERT_EQ(load_shapes(host, doc.layers[2], files), 0);
    ASSERT_EQ(load_shapes(host, doc.layers[5], std::vector<std::string>{files[1]}), 0);
    doc.layers[3].passage_mode = doc.layers[3].case_folding = true;
    const PassageChoice passage{
        u"Bubbles, Ab", {"DejaVu Serif", 0, 700, true}, PassageStyle::Bubble, true, true};
    ASSERT_EQ(set_layer_passage(host, doc.layers[7], passage), 0);
    doc.layers[2].shape_cursor = 1;
    doc.layers[2].passage_cursor = 4;
}

TEST(Metadata, EveryLayerFieldRoundTripsThroughASavedBlock) {
    const std::string dir = test::temp_dir("metadata_layers");
    test::RecordingHost host;
    Document from(host);
    change_layers(from, host, dir);
    from.path = dir + "/source.png";
    from.rendered_settings.alphabet = {"Wörds & more", "DejaVu Serif"};
    const std::string saved = dir + "/saved.png";
    ASSERT_EQ(write_picture(saved, test::noise_picture(8, 8, 3), 96), PictureError::None);
    ASSERT_EQ(write_metadata(from, host, saved), 0);

    Document to(host);
    ASSERT_EQ(load_layers(to, host, saved), 0);
    EXPECT_TRUE(host.messages().empty()) << host.messages()[0];
    for (std::size_t i = 0; i < from.layers.size(); ++i) {
        SCOPED_TRACE("layer " + std::to_string(i));
        const Layer &x = from.layers[i], &y = to.layers[i];
        EXPECT_EQ(layer_fields(x), layer_fields(y));
        EXPECT_TRUE(x.passage == y.passage);
        for (std::size_t k = 0; k < x.shapes.size() && k < y.shapes.size(); ++k) {
            // The same file toned the same way gives the same planes.
            EXPECT_EQ(x.shapes[k]->name, y.shapes[k]->name);
            EXPECT_EQ(x.shapes[k]->character, y.shapes[k]->character);
            EXPECT_TRUE(test::same_bytes(x.shapes[k]->mask_plane, y.shapes[k]->mask_plane));
            EXPECT_TRUE(test::same_bytes(x.shapes[k]->shade_plane, y.shapes[k]->shade_plane));
        }
    }
    EXPECT_EQ(to.layers[2].current, to.layers[2].shapes[1].get());
    EXPECT_EQ(to.settings.alphabet, from.rendered_settings.alphabet);
}

TEST(Metadata, SettingsComeBackAsTheWindowWouldShowThem) {
    test::RecordingHost host;
    Document from(host);
    Settings& s = from.settings;
    s.interpolation = 11, s.blur = 6, s.threshold = 44, s.gap = 3, s.dilation = 5, s.k_mean = 7;
    s.filter_kind = 3, s.transform_mode = 1, s.max_size = 0.045, s.min_size = 0.00075;
    s.out_width = 2000, s.out_height = 1500, s.dpi = 240;
    s.alphabet = {"", "", false, true, 1, 4};  // text and face go with the layers
    from.flag_byte = true;
    from.cycling[7] = false;
    from.rendered_settings.threshold = 12;
    from.path = "pictures/../pictures/source.png";
    SettingsBlock block;
    ASSERT_EQ(make_settings_block(from, false, block), "");
    // The stored path is absolute and plain.
    EXPECT_EQ(block.settings.source_path, (fs::current_path() / "pictures/source.png").string());
    // Copy takes the render's snapshot once a render exists, and says why when it cannot copy.
    SettingsBlock copied;
    for (const bool rendered : {true, false}) {
        from.rendered = rendered;
        ASSERT_EQ(decode_block_body(copy_metadata(from, host), copied), BlockStatus::Ok);
        EXPECT_EQ(copied.settings.threshold, rendered ? 12 : 44);
    }
    from.path = "/" + std::string(5000, 'p');
    EXPECT_TRUE(copy_metadata(from, host).empty());
    EXPECT_NE(host.messages().at(0).find("too long"), std::string::npos);

    Document to(host);
    to.settings.unit = Unit::Cm, to.settings.out_width = 800, to.settings.out_height = 600;
    to.settings.dpi = 72;
    apply_block_settings(to, block.settings);
    EXPECT_EQ(std::tuple(to.settings.unit, to.flag_byte, to.cycling),
              std::tuple(Unit::Pixel, true, from.cycling));
    // Paste keeps the picture's own size and resolution; reopening restores them.
    Settings pasted = s;
    pasted.out_width = 800, pasted.out_height = 600, pasted.dpi = 72;
    EXPECT_EQ(settings_fields(to.settings), settings_fields(pasted));
    EXPECT_EQ(to.settings.wid, 800);
    restore_output_size(to, block.settings);
    EXPECT_EQ(settings_fields(to.settings), settings_fields(s));
    EXPECT_EQ(to.settings.hgt, 1500);

    const std::pair<double, double> fractions[] = {
        {0.02, 0.02}, {0.0005, 0.0005}, {0.1234567, 0.123457}, {0.0000004, 0.0}};
    for (const auto& [typed, restored] : fractions)
        EXPECT_EQ(restored_size_fraction(float(typed)), restored) << typed;
}

TEST(Metadata, DetectSaysWhatIsWrongWithAFile) {
    const std::string dir = test::temp_dir("metadata_detect");
    const Bytes good = test::file_with_block(test::sample_block(), 100);
    Bytes old_version = good;
    old_version[100 + 4112] = 3;
    Bytes long_l = good;
    long_l.at(long_l.size() - 15) = 0x7F;  // the top byte of L
    struct Case {
        const char* name;
        Bytes content;
        bool found;
        std::string message;  // "" for none
    };
    const Case cases[] = {
        {"good.png", good, true, ""},
        {"old.png", old_version, false, "Found a meta data of the previous version. (" + dir + "/old.png)"},
        {"long.png", long_l, false, "Invalid metadata found!"},
        {"empty.png", {}, false, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir + "/" + c.name;
        test::put_file(path, c.content);
        test::RecordingHost host;
        EXPECT_EQ(detect_metadata(host, path), c.found);
        EXPECT_EQ(host.messages(),
                  c.message.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.message});
    }
}

TEST(Metadata, LoadLayersRefusesWhatItCannotUse) {
    const std::string dir = test::temp_dir("metadata_load_layers");
    test::RecordingHost host;
    Document doc(host);
    const std::string plain = dir + "/plain.png";
    ASSERT_EQ(write_picture(plain, test::noise_picture(8, 8, 3), 96), PictureError::None);
    struct Case {
        const char* what;
        std::function<void(Document&)> change;  // the Document whose block is saved
        std::vector<std::string> messages;
        bool replaced;  // the layers were replaced
    };
    const std::string missing = dir + "/gone.png";
    const Case cases[] = {
        {"no block", nullptr, {"No metadata found!"}, false},
        {"palette the Document lacks",
         [](Document& d) { d.layers[4].palette = int(d.palettes.size()); },
         {"Invalid metadata found!"},
         false},
        {"shape file gone",
         [&](Document& d) {
             ASSERT_EQ(
                 load_shapes(host, d.layers[3], std::vector<std::string>{shape_file(dir, "gone.png", 9)}), 0);
             fs::remove(missing);
         },
         {"Failed to read_shape", "Failed to read shape in " + missing},
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string path = plain;
        if (c.change) {
            Document d(host);
            c.change(d);
            path = dir + "/with_block.png";
            ASSERT_EQ(write_picture(path, test::noise_picture(8, 8, 3), 96), PictureError::None);
            ASSERT_EQ(write_metadata(d, host, path), 0);
        }
        host.clear();
        doc.layers[7].size = 33;
        EXPECT_EQ(load_layers(doc, host, path), -1);
        EXPECT_EQ(host.messages(), c.messages);
        EXPECT_EQ(doc.layers[7].size, c.replaced ? 100 : 33);
    }
    EXPECT_TRUE(doc.layers[3].shapes.empty());
}

}  // namespace
}  // namespace velq
