#include "app/logo_choice.h"

#include <algorithm>
#include <filesystem>

#include "image/picture_reader.h"
#include "render/logo.h"

namespace velq {

int choose_logo(Document& doc, Host& host, const LogoChoice& choice) {
    UBUFFER logo;
    if (choice.text) {
        if (draw_text_logo(host, choice.text_line, choice.face, logo) != 0) return -1;
    } else {
        std::error_code ec;
        if (choice.path.empty() || !std::filesystem::is_regular_file(choice.path, ec)) {
            host.message("Please select a valid image path!");
            return -1;
        }
        PictureRead read = read_picture(choice.path);
        if (!read) {
            host.message("Failed to read logo image");
            return -1;
        }
        logo = std::move(read.picture);
    }
    doc.logo = std::move(logo);
    doc.logo_transparency = std::clamp(choice.transparency, 0, 255);
    LogoChoice kept = choice;
    kept.transparency = doc.logo_transparency;
    if (kept.text) {
        kept.path.clear();
    } else {
        kept.text_line.clear();
        std::error_code ec;
        const auto abs = std::filesystem::absolute(kept.path, ec);
        if (!ec) kept.path = abs.lexically_normal().string();
    }
    doc.logo_choice = std::move(kept);
    return 0;
}

}  // namespace velq
