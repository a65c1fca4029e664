#include "app/save_result.h"

#include <gtest/gtest.h>

#include <functional>

#include "app/metadata.h"
#include "image/picture_reader.h"
#include "image/psd_writer.h"
#include "persistence/settings_block_file.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Rendered {
    test::RecordingHost host;
    Document doc{host};
    Rendered() {
        doc.render_buffer = test::noise_picture(37, 23, 5);
        doc.rendered = true, doc.path = "/pictures/source.png", doc.rendered_settings.dpi = 300;
        doc.rendered_settings.out_width = 37, doc.rendered_settings.out_height = 23;
        doc.rendered_settings.threshold = 12, doc.layers[2].palette = 4;
    }
};

TEST(SaveResult, WritesThePictureWithItsResolutionAndOneBlockEachTime) {
    const std::string dir = test::temp_dir("save_result");
    struct Case {
        std::string name;
        int entry;
        std::string written;
    };
    // A flat picture and the layered one, whose merged picture is what readers show. (Other formats
    // and the extensions each entry adds are the picture writer's matter.)
    const Case cases[] = {{"a.png", 2, "a.png"}, {"f", 1, "f.psd"}};
    for (const auto& c : cases) {
        Rendered r;
        SettingsBlock want;
        ASSERT_EQ(make_settings_block(r.doc, true, want), "");
        const std::string target = dir + "/" + c.written;
        for (int round = 0; round < 2; ++round) {  // saving twice into the same name
            ASSERT_EQ(save_result(r.doc, r.host, dir + "/" + c.name, c.entry), 0)
                << c.name << r.host.messages()[0];
            // One record and one trailer: the 14 signature bytes (with their zero) twice, no more.
            const Bytes file = test::file_content(target);
            const std::string text(file.begin(), file.end()), sig("Velquinograph", 14);
            const std::size_t second = text.find(sig, text.find(sig) + 1);
            EXPECT_TRUE(second != text.npos && text.find(sig, second + 1) == text.npos) << c.name;
            SettingsBlock back;
            ASSERT_TRUE(read_metadata_block(r.host, target, back)) << c.name;
            EXPECT_EQ(back, want) << c.name;
            const PictureRead pic = read_picture(target);
            ASSERT_TRUE(pic) << c.name;
            EXPECT_EQ(pic.dpi, 300) << c.name;
            EXPECT_TRUE(test::same_bytes(pic.picture, r.doc.render_buffer)) << c.name;
        }
        EXPECT_TRUE(r.host.messages().empty()) << c.name;
    }
    // Nothing but the results is left in the folder: no temporary files.
    EXPECT_EQ(test::file_names(dir), (std::vector<std::string>{"a.png", "f.psd"}));
}

TEST(SaveResult, RefusalsAndFailuresLeaveTheUsersFileAlone) {
    const std::string dir = test::temp_dir("save_result_fail");
    const std::string existing = dir + "/keep.png";
    const Bytes old = {'o', 'l', 'd'};
    test::put_file(existing, old);
    struct Case {
        const char* what;
        std::function<void(Document&)> setup;
        std::string name;
        int entry;
        std::string message;
    };
    const Case cases[] = {
        {"no render", [](Document& d) { d.rendered = false; }, existing, 3, "Please render the shape first!"},
        {"photoshop side above 30000",
         [](Document& d) { d.render_buffer = test::flat_picture(30001, 2, 0xFF102030u); }, dir + "/keep", 1,
         psd_too_large_message(30001, 2)},
        {"path too long to store", [](Document& d) { d.path = "/" + std::string(4100, 'x'); }, existing, 3,
         "The path is too long to be stored with the settings (4101 bytes, at most 4095): /" +
             std::string(4100, 'x')},
        {"folder missing", [](Document&) {}, dir + "/none/x.png", 3,
         "Failed to write image in write_image - (" + dir + "/none/x.png)"},
    };
    for (const auto& c : cases) {
        Rendered r;
        c.setup(r.doc);
        EXPECT_EQ(save_result(r.doc, r.host, c.name, c.entry), -1) << c.what;
        EXPECT_EQ(r.host.messages(), std::vector<std::string>{c.message}) << c.what;
    }
    EXPECT_EQ(test::file_content(existing), old);
    EXPECT_EQ(test::file_names(dir), std::vector<std::string>{"keep.png"});
}

}  // namespace
}  // namespace velq
