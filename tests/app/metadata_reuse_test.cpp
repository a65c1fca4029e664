#include <gtest/gtest.h>

#include <filesystem>

#include "app/filter_driver.h"
#include "app/logo_choice.h"
#include "app/metadata.h"
#include "app/open_picture.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "app/transform_driver.h"
#include "image/picture_writer.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

namespace fs = std::filesystem;

// Four flat quarters with a soft diagonal: enough regions for circles of several sizes.
UBUFFER source_picture() {
    return test::make_picture(48, 36, [](int x, int y) -> std::uint32_t {
        const std::uint32_t quarter[4] = {0xFFD04020u, 0xFF30A050u, 0xFF2040C0u, 0xFFE0E0E0u};
        return quarter[(x >= 24) + 2 * (y >= 18)] + std::uint32_t((x + y) / 12);
    });
}

// A Document that opened the source and ran filter, transform and render with settings away from the
// defaults and no random colour option, so that the render can be remade exactly.
struct Made {
    test::RecordingHost host;
    Document doc{host};
    std::string dir, source;

    explicit Made(const std::string& name, int transform_mode = 0,
                  FilterKind filter = FilterKind::InverseContrast)
        : dir(test::temp_dir(name)), source(dir + "/source.png") {
        EXPECT_EQ(write_picture(source, source_picture(), 200), PictureError::None);
        EXPECT_EQ(open_picture(doc, host, source), 0);
        Settings& s = doc.settings;
        s.interpolation = 2, s.blur = 0, s.threshold = 15, s.max_size = 0.05, s.min_size = 0.0125, s.gap = 0;
        s.filter_kind = int(filter);
        doc.seeds.fix(9);
        doc.layers[1].palette = 7;
        doc.layers[1].set_size(80);
        doc.layers[1].invert = true;
        doc.layers[0].set_brightness(60);
        EXPECT_EQ(do_filter(doc, host, FilterKind(s.filter_kind), s.memory_limit), 0);
        EXPECT_EQ(do_transform(doc, host, TransformMode(transform_mode), false), 0);
    }

    void render() {
        int w = 0, h = 0;
        render_size(doc, w, h);
        ASSERT_EQ(generate_shaped_image(doc, host, w, h), 0);
        ASSERT_TRUE(doc.rendered);
    }
};

// Twice the working size, a picture logo and Broken glass, whose pattern comes again from the kept
// seed under another run seed; the background, the global brightness and the logo come back too.
TEST(MetadataReuse, ReopeningASavedResultRendersTheSamePicture) {
    Made m("metadata_reopen", 0, FilterKind::BrokenGlass);
    m.doc.settings.out_width = 2 * m.doc.working.width();
    m.doc.settings.out_height = 2 * m.doc.working.height();
    m.doc.background = 0x204080;
    m.doc.settings.global_brightness = 30;
    const LogoChoice logo{false, "", "Courier New", m.dir + "/mark.png", 180};
    ASSERT_EQ(write_picture(logo.path, test::flat_picture(8, 4, 0xFFF0E000u), 96), PictureError::None);
    ASSERT_EQ(choose_logo(m.doc, m.host, logo), 0);
    m.render();
    const std::string saved = m.dir + "/result.png";
    ASSERT_EQ(save_result(m.doc, m.host, saved, 3), 0);

    test::RecordingHost host;
    host.answers = {true};
    Document again(host);
    ASSERT_EQ(open_or_reuse(again, host, saved), 0);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(host.questions(), std::vector<std::string>{"Meta data detect. Use it?"});
    EXPECT_EQ(again.path, fs::absolute(m.source).lexically_normal().string());
    EXPECT_TRUE(again.rendered && test::same_bytes(again.render_buffer, m.doc.render_buffer));
    EXPECT_EQ(again.settings.dpi, 200);
    EXPECT_EQ(again.logo_choice, m.doc.logo_choice);

    // No opens the result as a plain picture.
    host.answers = {false};
    Document plain(host);
    ASSERT_EQ(open_or_reuse(plain, host, saved), 0);
    EXPECT_FALSE(plain.rendered);
    EXPECT_EQ(plain.path, saved);
    EXPECT_EQ(plain.source.width(), m.doc.render_buffer.width());
}

TEST(MetadataReuse, PasteAppliesTheCopiedSettingsAndTransformsAgain) {
    Made m("metadata_paste", 1);
    const std::vector<std::uint8_t> bytes = copy_metadata(m.doc, m.host);
    ASSERT_FALSE(bytes.empty());

    test::RecordingHost host;
    Document doc(host);
    ASSERT_EQ(open_picture(doc, host, m.source), 0);
    ASSERT_EQ(paste_metadata(doc, host, bytes), 0);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(doc.layers[1].palette, 7);
    EXPECT_TRUE(doc.transformed && !doc.rendered);
    EXPECT_TRUE(test::same_bytes(doc.filtered, m.doc.filtered));
    EXPECT_EQ(doc.segments.size(), m.doc.segments.size());

    // Before any picture the settings wait for the next one.
    Document empty(host);
    ASSERT_EQ(paste_metadata(empty, host, bytes), 0);
    EXPECT_EQ(empty.settings.threshold, 15);
    EXPECT_FALSE(empty.transformed);
}

TEST(MetadataReuse, RefusalsSayWhy) {
    Made m("metadata_reuse_refusals");
    m.render();
    std::vector<std::uint8_t> good = copy_metadata(m.doc, m.host);
    std::vector<std::uint8_t> old = good;
    old[4112] = 3;
    const struct {
        const char* what;
        std::vector<std::uint8_t> bytes;
        std::string message;
    } pastes[] = {
        {"empty clipboard", {}, "Invalid metadata in paste_metadata()"},
        {"old version", old, "Found a meta data of the previous version in paste_metadata()"},
    };
    for (const auto& c : pastes) {
        test::RecordingHost host;
        Document doc(host);
        doc.settings.threshold = 77;
        EXPECT_EQ(paste_metadata(doc, host, c.bytes), -1) << c.what;
        EXPECT_EQ(host.messages(), std::vector<std::string>{c.message}) << c.what;
        EXPECT_EQ(doc.settings.threshold, 77) << c.what;
    }

    // A result whose source picture has gone: the saved picture itself comes in, as No would open it,
    // after one message.
    const std::string saved = m.dir + "/result.png";
    ASSERT_EQ(save_result(m.doc, m.host, saved, 3), 0);
    fs::remove(m.source);
    test::RecordingHost host;
    Document doc(host);
    doc.settings.threshold = 77;
    host.answers = {true};
    EXPECT_EQ(open_or_reuse(doc, host, saved), 0);
    const std::string abs = fs::absolute(m.source).lexically_normal().string();
    EXPECT_EQ(host.messages(), std::vector<std::string>{
                                   source_unreadable_message(abs, "the saved picture is opened instead")});
    EXPECT_EQ(doc.path, saved);
    EXPECT_EQ(doc.source.width(), m.doc.render_buffer.width());
    EXPECT_EQ(doc.settings.threshold, 77) << "the block's settings are not taken";
    EXPECT_FALSE(doc.transformed);
    host.clear();
    // Where no saved picture is named (a batch of results), nothing of the Document changes.
    SettingsBlock block;
    ASSERT_TRUE(read_metadata_block(host, saved, block));
    EXPECT_EQ(remake_from_block(doc, host, block), -1);
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{source_unreadable_message(abs, "nothing was opened")});
    EXPECT_EQ(doc.path, saved);
    EXPECT_TRUE(doc.source);
    host.clear();
    EXPECT_EQ(read_metadata(doc, host, m.dir + "/none.png"), -1);
    EXPECT_EQ(host.messages(), (std::vector<std::string>{"Failed to open file - " + m.dir + "/none.png",
                                                         "Failed to read meta data"}));
}

}  // namespace
}  // namespace velq
