#include "app/video_export.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "app/document_animation.h"
#include "app/metadata.h"
#include "app/render_op.h"
#include "image/picture_header.h"
#include "video/encoder.h"
#include "video/export_loop.h"
#include "video/gif_writer.h"
#include "video/pipelined_sink.h"

namespace velq {

namespace {

bool is_gif_name(const std::string& file) {
    if (file.size() < 4) return false;
    std::string ext = file.substr(file.size() - 4);
    for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
    return ext == ".gif";
}

constexpr SocialVariant kVariants[] = {
    {1920, 1080, "_youtube.3gpp"},
    {1920, 1080, "_youtube.webm"},
    {1920, 1080, "_youtube.mp4"},
    {1920, 1080, "_youtube.mov"},
    {1920, 1080, "_youtube.avi"},
    {1920, 1080, "_youtube.mpeg"},
    {1920, 1080, "_youtube.wmv"},
    {1920, 1080, "_youtube.flv"},
    {1080, 1080, "_facebook_instagram_twitter_square.mp4"},
    {1080, 1080, "_facebook_instagram_twitter_square.mov"},
    {720, 900, "_facebook_portrait.mp4"},
    {720, 900, "_facebook_portrait.mov"},
    {720, 1280, "_facebook_twitter_portrait.mp4"},
    {720, 1280, "_facebook_twitter_portrait.mov"},
    {1280, 720, "_facebook_twitter_landscape.mp4"},
    {1280, 720, "_facebook_twitter_landscape.mov"},
    // The two names differ on purpose.
    {1080, 1920, "_tiktok_instagram_wechat_portrait.mp4"},
    {1080, 1920, "_tiktok_instagram_portrait.mov"},
    {1080, 1350, "_instagram_feed.mp4"},
    {1080, 1350, "_instagram_feed.mov"},
    {640, 360, "_telegram.mp4"},
};

// A file whose first bytes announce a picture of some size.
bool readable_picture(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::vector<std::uint8_t> head(1 << 16);
    in.read(reinterpret_cast<char*>(head.data()), std::streamsize(head.size()));
    head.resize(std::size_t(in.gcount()));
    return read_picture_header(head).sized();
}

}  // namespace

std::span<const SocialVariant> social_media_variants() {
    return kVariants;
}

int render_anim_video(Document& doc, Host& host, const std::string& file, int pw, int ph, FitMode fit) {
    const FrameLayout layout = frame_layout(pw, ph, doc.settings.video_width, doc.settings.video_height, fit);
    DocumentAnimation animation(doc, host);
    if (animation.prepare(pw, ph, "Failed to allocate buffers in render_anim_video") != 0) return -1;
    std::unique_ptr<VideoSink> sink;
    if (is_gif_name(file)) {
        sink = std::make_unique<GifWriter>(host);
    } else {
        sink = std::make_unique<Encoder>(host);
    }
    // The next frames are drawn while the encoder works on this one: up to four wait for it, so the
    // drawing can use every moment the encoder's threads leave idle.
    PipelinedSink pipeline(*sink);
    const int r = write_animation(host, pipeline, animation, file, layout, animation.duration());
    // The window keeps the last frame it was shown.
    doc.frame_buffer = std::move(animation.scene().display());
    return r;
}

int generate_sm_video(Document& doc, Host& host, std::span<const std::string> sources, FitMode fit) {
    namespace fs = std::filesystem;
    if (sources.empty()) return 0;
    const fs::path folder = fs::path(sources[0]).parent_path() / "SocialMedia";
    std::error_code ec;
    const bool folder_was_there = fs::is_directory(folder, ec);
    fs::create_directories(folder, ec);
    if (ec && !fs::is_directory(folder)) {
        host.message("Failed to create a folder in generate_sm_video()");
        return -1;
    }
    int written = 0, readable = 0;
    for (const std::string& source : sources) {
        if (host.stopped()) break;
        if (!readable_picture(source)) continue;
        ++readable;
        SettingsBlock block;
        if (!read_metadata_block(host, source, block)) {
            char text[4200];
            std::snprintf(text, sizeof text, "Unable to find a metadata in %s", source.c_str());
            host.message(text);
            continue;
        }
        doc.settings.min_size = 0.0005;
        if (remake_from_block(doc, host, block) != 0) continue;
        int pw = 0, ph = 0;
        render_size(doc, pw, ph);
        const std::string stem = fs::path(source).stem().string();
        for (const SocialVariant& v : kVariants) {
            if (host.stopped()) break;
            doc.settings.video_width = v.width;
            doc.settings.video_height = v.height;
            if (render_anim_video(doc, host, (folder / (stem + v.suffix)).string(), pw, ph, fit) == 0)
                ++written;
        }
    }
    if (readable == 0) host.message("Failed to read source");
    // A run that wrote nothing leaves no trace: the folder goes if this run made it.
    if (written == 0 && !folder_was_there) fs::remove(folder, ec);
    return written;
}

}  // namespace velq
