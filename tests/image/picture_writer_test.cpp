#include <gtest/gtest.h>

#include <filesystem>

#include "image/picture_reader.h"
#include "image/picture_writer.h"
#include "picture_files.h"
#include "support/pictures.h"

namespace velq {
namespace {

namespace fs = std::filesystem;
using test::quoted;
using test::run_tool;

TEST(PictureWriter, ResolutionRoundTripsAndIndependentToolsAgree) {
    const bool exiftool = test::have_tool("exiftool");
    const std::string dir = test::temp_dir("writer_dpi");
    const UBUFFER picture = test::noise_picture(31, 17, 5, false);
    struct Case {
        const char* name;
        const char* exif_tags;  // what exiftool -n prints for them
        const char* exif_expected;
    } cases[] = {
        {"a.jpg", "-JFIF:ResolutionUnit -JFIF:XResolution -JFIF:YResolution", "1 300 300"},
        {"c.png", "-PNG:PixelUnits -PNG:PixelsPerUnitX -PNG:PixelsPerUnitY", "1 11812 11812"},
        {"e.bmp", "-File:PixelsPerMeterX -File:PixelsPerMeterY", "11812 11812"},
        {"f.tif", "-EXIF:ResolutionUnit -EXIF:XResolution -EXIF:YResolution -EXIF:ExtraSamples",
         "2 300 300 2"},
    };
    for (const Case& c : cases) {
        const std::string path = dir + "/" + c.name;
        ASSERT_EQ(write_picture(path, picture, 300), PictureError::None) << c.name;
        const PictureRead back = read_picture(path);
        ASSERT_TRUE(back) << c.name;
        EXPECT_EQ(back.dpi, 300) << c.name;
        ASSERT_EQ(std::pair(back.picture.width(), back.picture.height()), std::pair(31, 17));
        const PictureType type = picture_type_of(path);
        if (type == PictureType::Png || type == PictureType::Tiff) {
            // PNG and TIFF keep alpha: the samples come back as written, faint pixels cleared. A
            // TIFF's alpha is marked unassociated, so the TIFF decoder hands back colours multiplied
            // by alpha, rounded: (c * a + 127) / 255.
            UBUFFER want = picture.clone();
            for (int y = 0; y < 17; ++y)
                for (int x = 0; x < 31; ++x) {
                    const int a = want.at(x, y, 3);
                    for (int ch = 0; ch < 3; ++ch) {
                        if (type == PictureType::Tiff)
                            want.at(x, y, ch) = std::uint8_t((want.at(x, y, ch) * a + 127) / 255);
                        if (a < 10) want.at(x, y, ch) = 0;
                    }
                    if (a < 10) want.at(x, y, 3) = 0;
                }
            EXPECT_EQ(std::memcmp(back.picture.data(), want.data(), want.size()), 0) << c.name;
        }
        if (exiftool) {
            EXPECT_EQ(run_tool("exiftool -n -s3 " + std::string(c.exif_tags) + " " + quoted(path) +
                               " | tr '\\n' ' '"),
                      std::string(c.exif_expected) + " ")
                << c.name;
        }
    }
    if (!exiftool) GTEST_SKIP() << "exiftool missing: only our own reader checked";
}

TEST(PictureWriter, ExistingFileIsReplacedWholeOrLeftAlone) {
    const std::string dir = test::temp_dir("writer_replace");
    const std::string path = dir + "/result.png";
    test::put_file(path, {'o', 'l', 'd'});
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);

    const UBUFFER picture = test::flat_picture(6, 5, 0xFF112233u);
    ASSERT_EQ(write_picture(path, picture, 150), PictureError::None);
    const PictureRead back = read_picture(path);
    ASSERT_TRUE(back);
    EXPECT_EQ(back.dpi, 150);
    EXPECT_EQ(back.picture.at(2, 2, 2), 0x11);
    EXPECT_EQ(fs::status(path).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    EXPECT_EQ(test::file_names(dir), std::vector<std::string>{"result.png"});

    // Failures: the old file stays byte for byte, and nothing else appears.
    const auto before = test::file_content(path);
    const std::string png_named_folder = dir + "/folder.png";
    fs::create_directories(png_named_folder);
    const std::vector<std::string> both = {"folder.png", "result.png"};
    struct Case {
        const char* what;
        std::string path;
        const UBUFFER* picture;
        PictureError error;
    } cases[] = {
        {"no picture", path, nullptr, PictureError::EmptyPicture},
        {"unknown type", dir + "/result.gif", &picture, PictureError::UnknownType},
        {"folder in the way", png_named_folder, &picture, PictureError::WriteFailed},
        {"missing folder", dir + "/nowhere/result.png", &picture, PictureError::WriteFailed},
    };
    const UBUFFER absent;
    for (const Case& c : cases) {
        EXPECT_EQ(write_picture(c.path, c.picture ? *c.picture : absent, 96), c.error) << c.what;
        EXPECT_EQ(test::file_content(path), before) << c.what;
        EXPECT_TRUE(fs::is_directory(png_named_folder)) << c.what;
        EXPECT_EQ(test::file_names(dir), both) << c.what;
    }
}

}  // namespace
}  // namespace velq
