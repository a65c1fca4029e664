#include <gtest/gtest.h>

#include "image/file_types.h"
#include "image/picture_writer.h"

namespace velq {
namespace {

// Save appends its entry's extension unless the name has one it writes; video export unless the name
// has any. The entries are numbered from 1 in the dialogs' order.
TEST(FileTypes, SaveAndVideoExportAppendTheEntrysExtensionOnlyWhenNeeded) {
    struct Case {
        bool video;
        const char* name;
        int entry;
        const char* expected;
    } cases[] = {{false, "art", 1, "art.psd"},
                 {false, "art", 2, "art.jpg"},
                 {false, "art", 4, "art.bmp"},
                 {false, "art.PNG", 4, "art.PNG"},
                 {false, "art.jpeg", 3, "art.jpeg"},
                 {false, "art.psd", 3, "art.psd"},
                 {false, "art.tif", 3, "art.tif.png"},
                 {false, "my.dir/art", 3, "my.dir/art.png"},
                 {false, "art", 0, "art"},
                 {false, "art", 5, "art"},
                 {true, "clip", 1, "clip.mp4"},
                 {true, "clip", 4, "clip.webm"},
                 {true, "clip", 5, "clip.wmv"},
                 {true, "clip", 8, "clip.flv"},
                 {true, "clip.MOV", 3, "clip.MOV"},
                 {true, "clip.txt", 1, "clip.txt"},
                 {true, "a.b/clip", 6, "a.b/clip.mpeg"},
                 {true, "clip", 9, "clip"}};
    for (const Case& c : cases)
        EXPECT_EQ(c.video ? video_file_name(c.name, c.entry) : save_file_name(c.name, c.entry), c.expected)
            << c.name << " " << c.entry;
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
