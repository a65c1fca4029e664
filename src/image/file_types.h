// File names and the file-type lists the open and save dialogs offer: shared as data by the window
// and the command-line tool, so both accept and name files the same way. Extensions compare without
// regard to case, and "jpeg" counts as "jpg".
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace velq {

// One entry of a dialog's type list: the text shown and the pattern(s) it matches.
struct FileFilter {
    std::string_view label;
    std::string_view pattern;
};

// Single-entry lists: the "|" inside them is part of the one entry's text, not a separator.
inline constexpr std::string_view kOpenPictureTypes =
    "All Graphics "
    "Types|*.bmp;*.jpg;*.jpeg;*.png;*.tif;*.tiff;*.webp;*.jfif;*.psd;*.mp4;*.mov;*.avi;*.wmv;*.mpeg;"
    "*.webm;*.3gpp;*.flv";
inline constexpr std::string_view kLoadShapeTypes =
    "All Graphics Types|*.bmp;*.jpg;*.jpeg;*.png;*.tif;*.tiff;*.webp;*.jfif";
inline constexpr std::string_view kSocialMediaSourceTypes =
    "All Video Types|*.mp4;*.mov;*.avi;*.wmv;*.mpeg;*.webm;*.3gpp;*.flv";
inline constexpr std::string_view kMotionPackTypes = "3D model files|*.gltf;*.glb;*.fbx";

// Save: entries 1..4 in this order.
inline constexpr std::array<FileFilter, 4> kSaveTypes{{
    {"Photoshop (.psd)", "*.psd"},
    {"Joint Photographic Experts Group (.jpg)", "*.jpg"},
    {"Portable Network Graphic (.png)", "*.png"},
    {"Bitmap Files (*.bmp)", "*.bmp"},
}};

// Video export: entries 1..8 in this order.
inline constexpr std::array<FileFilter, 8> kVideoExportTypes{{
    {"MPEG-4 Part 14 (.mp4)", "*.mp4"},
    {"QuickTime multimedia (.mov)", "*.mov"},
    {"Audio Video Interleave (.avi)", "*.avi"},
    {"Web Media (*.webm)", "*.webm"},
    {"Windows Media Video (*.wmv)", "*.wmv"},
    {"Moving Picture Experts Group (*.mpeg)", "*.mpeg"},
    {"Third Generation Partnership Project (*.3gpp)", "*.3gpp"},
    {"Flash Video (*.flv)", "*.flv"},
}};

inline constexpr FileFilter kGifExportType{"Graphics Interchange Format (.gif)", "*.gif"};

// The extensions Open treats as videos (and refuses with "Invalid file").
inline constexpr std::array<std::string_view, 8> kVideoExtensions{"mp4",  "mov",  "avi",  "wmv",
                                                                  "mpeg", "webm", "3gpp", "flv"};

// The extension of the last path component, without the dot, in lower case, with "jpeg" given as
// "jpg"; empty when there is none.
std::string file_extension(std::string_view path);

// True when the path is not empty, exists and is not a folder.
bool file_exists(std::string_view path);

// True when the extension is one of kVideoExtensions.
bool is_video(std::string_view path);

// Save: `name` unchanged when its extension is bmp, jpg (or jpeg), png or psd; otherwise with the
// chosen entry's extension appended (1 ".psd", 2 ".jpg", 3 ".png", 4 ".bmp"; other entries append
// nothing).
std::string save_file_name(std::string_view name, int entry);

// Video export: `name` unchanged when it has an extension; otherwise with the chosen entry's
// extension appended (1 mp4, 2 mov, 3 avi, 4 webm, 5 wmv, 6 mpeg, 7 3gpp, 8 flv).
std::string video_file_name(std::string_view name, int entry);

}  // namespace velq
