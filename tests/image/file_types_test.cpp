#include <gtest/gtest.h>

#include "image/file_types.h"
#include "image/picture_writer.h"

namespace velq {
namespace {

TEST(FileTypes, SaveAppendsTheChosenEntrysExtensionOnlyWhenNeeded) {
    struct Case {
        const char* name;
        int entry;
        const char* expected;
    } cases[] = {
        {"art", 1, "art.psd"},
        {"art", 2, "art.jpg"},
        {"art", 4, "art.bmp"},
        {"art.PNG", 4, "art.PNG"},
        {"art.jpeg", 3, "art.jpeg"},
        {"art.psd", 3, "art.psd"},
        {"art.tif", 3, "art.tif.png"},
        {"my.dir/art", 3, "my.dir/art.png"},
        {"art", 0, "art"},
        {"art", 5, "art"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(save_file_name(c.name, c.entry), c.expected) << c.name << " " << c.entry;
}

TEST(FileTypes, VideoExportAppendsAnExtensionOnlyWhenThereIsNone) {
    const char* in_order[] = {".mp4", ".mov", ".avi", ".webm", ".wmv", ".mpeg", ".3gpp", ".flv"};
    for (int entry = 1; entry <= 8; ++entry) {
        EXPECT_EQ(video_file_name("clip", entry), std::string("clip") + in_order[entry - 1]) << entry;
        EXPECT_EQ(video_file_name("clip.MOV", entry), "clip.MOV") << entry;
        EXPECT_EQ(video_file_name("clip.txt", entry), "clip.txt") << entry;
        EXPECT_EQ(video_file_name("a.b/clip", entry), std::string("a.b/clip") + in_order[entry - 1]) << entry;
    }
    EXPECT_EQ(video_file_name("clip", 9), "clip");
}

TEST(FileTypes, ExtensionsAndVideos) {
    struct Ext {
        const char* path;
        const char* ext;
        bool video;
        PictureType type;
    } exts[] = {
        {"a.JPEG", "jpg", false, PictureType::Jpeg},    {"a.Png", "png", false, PictureType::Png},
        {"a.TIF", "tif", false, PictureType::Tiff},     {"a.tiff", "tiff", false, PictureType::Tiff},
        {"a.bmp", "bmp", false, PictureType::Bmp},      {"a.jfif", "jfif", false, PictureType::Unknown},
        {"a.MP4", "mp4", true, PictureType::Unknown},   {"a.3GPP", "3gpp", true, PictureType::Unknown},
        {"a.mpg", "mpg", false, PictureType::Unknown},  {".mp4", "", false, PictureType::Unknown},
        {"dir.mp4/a", "", false, PictureType::Unknown},
    };
    for (const Ext& e : exts) {
        EXPECT_EQ(file_extension(e.path), e.ext) << e.path;
        EXPECT_EQ(is_video(e.path), e.video) << e.path;
        EXPECT_EQ(picture_type_of(e.path), e.type) << e.path;
    }
}

}  // namespace
}  // namespace velq
