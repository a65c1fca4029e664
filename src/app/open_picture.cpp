#include "app/open_picture.h"

#include <filesystem>

#include "app/filter_driver.h"
#include "app/units.h"
#include "image/file_types.h"
#include "image/working_pictures.h"

namespace velq {

void init_operation(Document& doc) {
    doc.selected_palette = 0;
    doc.toggles = ViewToggles{};
    doc.transformed = false;
    doc.rendered = false;
    doc.selected_outline = -1;
    doc.hovered_outline = -1;
    doc.picture_loaded = true;
}

int read_image(Document& doc, Host& host, const std::string& path) {
    host.status(1, "Reading from...");
    PictureRead read = read_picture(path);
    if (!read) {
        host.status(1, "");
        if (read.error == PictureError::Unreadable) {
            host.message("Invalid filename in read_image - (" + path + ")");
        } else {
            host.message(picture_error_message(read.error, path));
        }
        return -1;
    }
    return install_picture(doc, host, std::move(read), path);
}

int install_picture(Document& doc, Host& host, PictureRead read, const std::string& path) {
    doc.source = std::move(read.picture);
    doc.working_built.reset();  // the installed pictures are another source's
    doc.settings.dpi = read.dpi;
    RebuiltPictures made;
    if (build_working_pictures(doc, host, doc.settings.memory_limit, made) != 0) {
        host.status(1, "");
        host.message("Failed to reallocating filter_buffer");
        doc.reset();
        return -1;
    }
    install_working_pictures(doc, std::move(made));
    rewrite_size_fields(doc.settings);
    doc.path = path;
    doc.motion_pack_loaded = false;
    host.status(1, "Read from " + path);
    return 0;
}

int open_picture(Document& doc, Host& host, const std::string& path) {
    if (!file_exists(path)) {
        host.message("Failed to read image");
        return -1;
    }
    if (is_video(path)) {
        host.message("Invalid file");
        return -1;
    }
    if (check_interpolation(host, doc.settings.interpolation, doc.settings.blur) != 0) return -1;
    doc.reset();
    init_operation(doc);
    if (read_image(doc, host, path) != 0) {
        host.message("Failed to read image");
        doc.reset();
        return -1;
    }
    doc.settings.min_size = 0.0005;
    host.status(1, "Image Open completed (" + std::filesystem::path(path).filename().string() + ")");
    host.refresh(Refresh::View);
    return 0;
}

}  // namespace velq
