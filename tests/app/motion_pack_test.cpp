// A motion pack through the Document: loaded in place of a picture, rendered at time 0, played by the
// animation, saved with its settings and reopened from them; and the files it refuses.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/document_animation.h"
#include "app/metadata.h"
#include "app/motion_pack_load.h"
#include "app/open_picture.h"
#include "app/render_op.h"
#include "app/save_result.h"
#include "image/picture_writer.h"
#include "support/files.h"
#include "support/gltf_strip.h"
#include "support/pictures.h"
#include "support/recording_host.h"

namespace velq {
namespace {

TEST(MotionPack, RendersPlaysSavesAndReopens) {
    const std::string dir = test::temp_dir("motion_pack");
    const std::string model = dir + "/strip.gltf", result = dir + "/result.png";
    test::write_strip_gltf(model);
    test::RecordingHost host;
    Document doc(host);
    doc.seeds.fix(5);
    doc.settings.video_width = 160, doc.settings.video_height = 120, doc.settings.max_size = 0.03;
    ASSERT_EQ(load_motion_pack(doc, host, model), 0);
    EXPECT_TRUE(doc.motion_pack_loaded && doc.transformed);
    int w = 0, h = 0;
    render_size(doc, w, h);
    ASSERT_EQ(generate_shaped_image(doc, host, w, h), 0);
    ASSERT_TRUE(doc.rendered);

    // The video's first frame is the still result; the model moves after it.
    DocumentAnimation animation(doc, host);
    ASSERT_EQ(animation.prepare(160, 120, "no memory"), 0);
    EXPECT_DOUBLE_EQ(animation.duration(), 1.0);
    EXPECT_TRUE(test::same_bytes(*animation.frame(0.0, 1, 0), doc.render_buffer));
    EXPECT_FALSE(test::same_bytes(*animation.frame(1.0, 1, 0), doc.render_buffer));

    ASSERT_EQ(save_result(doc, host, result, 3), 0);
    Document again(host);
    again.seeds.fix(5);
    ASSERT_EQ(read_metadata(again, host, result), 0);
    EXPECT_TRUE(again.motion_pack_loaded);
    EXPECT_TRUE(test::same_bytes(again.render_buffer, doc.render_buffer));

    // Opening a picture frees the pack.
    const std::string picture = dir + "/picture.png";
    ASSERT_EQ(write_picture(picture, test::flat_picture(8, 8, 0xFF336699u), 96), PictureError::None);
    ASSERT_EQ(open_picture(again, host, picture), 0);
    EXPECT_FALSE(again.motion_pack_loaded || again.motion_pack);

    // A result whose model has gone says so and leaves the Document as it was.
    std::filesystem::remove(model);
    host.clear();
    EXPECT_EQ(read_metadata(again, host, result), -1);
    EXPECT_TRUE(host.said("Failed to load motion pack- " + std::filesystem::absolute(model).string()));
    EXPECT_EQ(again.path, picture);
    EXPECT_TRUE(again.source);
}

TEST(MotionPack, RefusesFilesItCannotUseAndSaysWhenAModelIsStill) {
    const std::string dir = test::temp_dir("motion_pack_refusals");
    const std::string text = test::strip_gltf();
    struct Case {
        const char* name;
        std::string bytes;
        const char* why;  // empty: loaded
    };
    const Case cases[] = {
        {"missing.gltf", "", "the file does not exist"},
        {"empty.glb", "", "the file is empty"},
        {"truncated.gltf", text.substr(0, text.size() / 2), ""},
        {"noise.glb", "glTF\x02\x00\x00\x00 not really", ""},
        {"no_mesh.gltf",
         R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"name":"a"}]})",
         "the model has no meshes"},
    };
    for (const Case& c : cases) {
        const std::string path = dir + "/" + c.name;
        if (std::string(c.name) != "missing.gltf") test::put_text(path, c.bytes);
        test::RecordingHost host;
        Document doc(host);
        EXPECT_EQ(load_motion_pack(doc, host, path), -1) << c.name;
        ASSERT_FALSE(host.messages().empty()) << c.name;
        const std::string said = host.messages().back();
        EXPECT_EQ(said.rfind("Failed to load motion pack- " + path + " (", 0), 0u) << said;
        EXPECT_NE(said.find(c.why), std::string::npos) << said;
        EXPECT_FALSE(doc.motion_pack_loaded || doc.source) << c.name;
    }
    const std::string still = dir + "/still.gltf";
    test::write_strip_gltf(still, {.animated = false});
    test::RecordingHost host;
    Document doc(host);
    ASSERT_EQ(load_motion_pack(doc, host, still), 0);
    EXPECT_TRUE(host.said("The 3D model has no animation: it stays still (" + still + ")"));
    // Circles far too small for the model are refused before anything changes.
    Document tiny(host);
    tiny.settings.max_size = 1e-5;
    tiny.settings.min_size = 0;
    EXPECT_EQ(load_motion_pack(tiny, host, still), -1);
    EXPECT_TRUE(host.said(too_many_samples_message(still)));
    EXPECT_FALSE(tiny.source);
}

}  // namespace
}  // namespace velq
