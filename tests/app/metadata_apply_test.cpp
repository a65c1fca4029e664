#include <gtest/gtest.h>

#include <filesystem>

#include "app/metadata.h"
#include "image/picture_writer.h"
#include "persistence/settings_block_file.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

// A shape picture file: 1024 wide is enough for a shape.
std::string shape_file(const std::string& dir, const std::string& name, std::uint32_t seed) {
    const std::string path = dir + "/" + name;
    EXPECT_EQ(write_picture(path, test::noise_picture(1024, 24, seed), 96), PictureError::None);
    return path;
}

// Every field of every layer, compared one by one so a failure names the field.
void expect_same_layers(const std::vector<Layer>& a, const std::vector<Layer>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Layer &x = a[i], &y = b[i];
        SCOPED_TRACE("layer " + std::to_string(i));
        EXPECT_EQ(x.transparency, y.transparency);
        EXPECT_EQ(x.size, y.size);
        EXPECT_EQ(x.brightness, y.brightness);
        EXPECT_EQ(x.palette, y.palette);
        EXPECT_EQ(x.shape_cursor, y.shape_cursor);
        EXPECT_EQ(x.passage_cursor, y.passage_cursor);
        EXPECT_EQ(x.anim, y.anim);
        EXPECT_EQ(x.passage, y.passage);
        EXPECT_EQ(x.passage_mode, y.passage_mode);
        EXPECT_EQ(x.case_folding, y.case_folding);
        EXPECT_EQ(x.first_shape_only, y.first_shape_only);
        EXPECT_EQ(x.random, y.random);
        EXPECT_EQ(x.shuffle, y.shuffle);
        EXPECT_EQ(x.invert, y.invert);
        EXPECT_EQ(x.convert, y.convert);
        EXPECT_EQ(x.shown, y.shown);
        EXPECT_EQ(x.font.face, y.font.face);
        EXPECT_EQ(x.font.height, y.font.height);
        EXPECT_EQ(x.font.weight, y.font.weight);
        EXPECT_EQ(x.font.italic, y.font.italic);
        ASSERT_EQ(x.shapes.size(), y.shapes.size());
        for (std::size_t k = 0; k < x.shapes.size(); ++k) {
            EXPECT_EQ(x.shapes[k]->name, y.shapes[k]->name);
            // The same file toned the same way gives the same planes.
            EXPECT_TRUE(std::equal(x.shapes[k]->mask_plane.data(),
                                   x.shapes[k]->mask_plane.data() + x.shapes[k]->mask_plane.size(),
                                   y.shapes[k]->mask_plane.data()));
            EXPECT_TRUE(std::equal(x.shapes[k]->shade_plane.data(),
                                   x.shapes[k]->shade_plane.data() + x.shapes[k]->shade_plane.size(),
                                   y.shapes[k]->shade_plane.data()));
        }
        EXPECT_EQ(x.current == nullptr, y.current == nullptr);
    }
}

// Layers changed in every field the window or the tool can change.
void change_layers(Document& doc, Host& host, const std::string& dir) {
    const std::vector<std::string> files = {shape_file(dir, "leaf.png", 1), shape_file(dir, "star.png", 2)};
    for (int i = 0; i < Layer::kCount; ++i) {
        Layer& l = doc.layers[std::size_t(i)];
        // As the window's edits set them: the shapes are toned again.
        l.set_transparency(250 - 10 * i);
        l.set_size(90 + 20 * i);
        l.set_brightness(80 + 40 * i);
        l.palette = i;
        l.random = i % 2 == 0;
        l.shuffle = i % 3 == 0;
        l.invert = i % 4 == 0;
        l.convert = i % 5 == 0;
        l.shown = i != 6;
        l.anim.motion = i % 6;
        l.anim.scan = 7 - i % 8;
        l.anim.count = i;
        l.anim.duration = 2.5 + i;
        l.anim.motion_time = 0.5 * i;
        l.anim.timestamp = 0.125 * i;
        l.font.face = i == 4 ? "Liberation Serif" : "Courier New";
        l.font.height = i;
        l.font.weight = 100 * i;
        l.font.italic = i == 4;
        l.passage = u"Passage " + std::u16string(1, char16_t(u'A' + i));
    }
    ASSERT_EQ(load_shapes(host, doc.layers[2], files), 0);
    ASSERT_EQ(load_shapes(host, doc.layers[5], std::vector<std::string>{files[1]}), 0);
    doc.layers[3].passage_mode = doc.layers[3].case_folding = true;
    doc.layers[2].shape_cursor = 1;
    doc.layers[2].passage_cursor = 4;
}

TEST(MetadataApply, EveryLayerFieldRoundTripsThroughASavedBlock) {
    const std::string dir = test::temp_dir("metadata_apply");
    test::RecordingHost host;
    Document from(host);
    change_layers(from, host, dir);
    from.path = dir + "/source.png";

    const std::string saved = dir + "/saved.png";
    ASSERT_EQ(write_picture(saved, test::noise_picture(8, 8, 3), 96), PictureError::None);
    ASSERT_EQ(write_metadata(from, host, saved), 0);

    Document to(host);
    ASSERT_EQ(load_layers(to, host, saved), 0);
    EXPECT_TRUE(host.messages().empty()) << host.messages()[0];
    expect_same_layers(from.layers, to.layers);
    EXPECT_EQ(to.layers[2].current, to.layers[2].shapes[1].get());
    fs::remove_all(dir);
}

TEST(MetadataApply, SettingsComeBackAsTheWindowWouldShowThem) {
    test::RecordingHost host;
    Document from(host);
    Settings& s = from.settings;
    s.interpolation = 11;
    s.blur = 6;
    s.threshold = 44;
    s.gap = 3;
    s.dilation = 5;
    s.k_mean = 7;
    s.filter_kind = 3;
    s.transform_mode = 1;
    s.max_size = 0.045;
    s.min_size = 0.00075;
    s.out_width = 2000;
    s.out_height = 1500;
    s.dpi = 240;
    from.flag_byte = true;
    from.cycling[7] = false;
    SettingsBlock block;
    ASSERT_EQ(make_settings_block(from, false, block), "");

    Document to(host);
    to.settings.unit = Unit::Cm;
    to.settings.out_width = 800;
    to.settings.out_height = 600;
    to.settings.dpi = 72;
    apply_block_settings(to, block.settings);
    const Settings& t = to.settings;
    EXPECT_EQ(t.interpolation, 11);
    EXPECT_EQ(t.blur, 6);
    EXPECT_EQ(t.threshold, 44);
    EXPECT_EQ(t.gap, 3);
    EXPECT_EQ(t.dilation, 5);
    EXPECT_EQ(t.k_mean, 7);
    EXPECT_EQ(t.filter_kind, 3);
    EXPECT_EQ(t.transform_mode, 1);
    EXPECT_EQ(t.max_size, 0.045);
    EXPECT_EQ(t.min_size, 0.00075);
    EXPECT_EQ(t.unit, Unit::Pixel);
    EXPECT_TRUE(to.flag_byte);
    EXPECT_FALSE(to.cycling[7]);
    EXPECT_TRUE(to.cycling[8]);
    // Paste keeps the picture's own size and resolution; reopening restores them.
    EXPECT_EQ(t.out_width, 800);
    EXPECT_EQ(t.dpi, 72);
    EXPECT_EQ(t.wid, 800);
    restore_output_size(to, block.settings);
    EXPECT_EQ(t.out_width, 2000);
    EXPECT_EQ(t.out_height, 1500);
    EXPECT_EQ(t.dpi, 240);
    EXPECT_EQ(t.hgt, 1500);
}

TEST(MetadataApply, LoadLayersRefusesWhatItCannotUse) {
    const std::string dir = test::temp_dir("metadata_load_layers");
    test::RecordingHost host;
    Document doc(host);
    const std::string plain = dir + "/plain.png";
    ASSERT_EQ(write_picture(plain, test::noise_picture(8, 8, 3), 96), PictureError::None);

    struct Case {
        const char* what;
        std::function<void(Document&)> change;  // the Document whose block is saved
        std::vector<std::string> messages;
        int result;
        bool replaced;  // the layers were replaced
    };
    const std::string missing = dir + "/gone.png";
    const Case cases[] = {
        {"no block", nullptr, {"No metadata found!"}, -1, false},
        {"palette the Document lacks",
         [](Document& d) { d.layers[4].palette = int(d.palettes.size()); },
         {"Invalid metadata found!"},
         -1,
         false},
        {"shape file gone",
         [&](Document& d) {
             ASSERT_EQ(
                 load_shapes(host, d.layers[3], std::vector<std::string>{shape_file(dir, "gone.png", 9)}), 0);
             fs::remove(missing);
         },
         {"Failed to read_shape", "Failed to read shape in " + missing},
         -1,
         true},
    };
    for (const auto& c : cases) {
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
        EXPECT_EQ(load_layers(doc, host, path), c.result) << c.what;
        EXPECT_EQ(host.messages(), c.messages) << c.what;
        EXPECT_EQ(doc.layers[7].size, c.replaced ? 100 : 33) << c.what;
    }
    EXPECT_TRUE(doc.layers[3].shapes.empty());
    fs::remove_all(dir);
}

}  // namespace
}  // namespace velq
