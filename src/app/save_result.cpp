#include "app/save_result.h"

#include <cstdio>
#include <vector>

#include "app/metadata.h"
#include "app/psd_export.h"
#include "image/file_types.h"
#include "image/picture_writer.h"
#include "image/replace_file.h"

namespace velq {

int save_result(Document& doc, Host& host, const std::string& name, int entry) {
    if (!doc.rendered || !doc.render_buffer) {
        host.message("Please render the shape first!");
        return -1;
    }
    const std::string path = save_file_name(name, entry);
    SettingsBlock block;
    std::vector<std::uint8_t> block_bytes;
    std::string problem = make_settings_block(doc, true, block);
    if (problem.empty()) problem = encode_file_block(block, block_bytes);
    if (!problem.empty()) {
        host.message(problem);
        return -1;
    }

    if (file_extension(path) == "psd") return save_psd(doc, host, path, block_bytes);

    host.status(1, "Writing to...");
    std::vector<std::uint8_t> picture;
    PictureError e =
        encode_picture(picture_type_of(path), doc.render_buffer, doc.rendered_settings.dpi, picture);
    if (e == PictureError::None) {
        const bool ok = replace_file_with(path, [&](std::FILE* f) {
            return std::fwrite(picture.data(), 1, picture.size(), f) == picture.size() &&
                   std::fwrite(block_bytes.data(), 1, block_bytes.size(), f) == block_bytes.size();
        });
        if (!ok) e = PictureError::WriteFailed;
    }
    if (e != PictureError::None) {
        host.message(picture_error_message(e, path));
        return -1;
    }
    host.status(1, "Written to " + path);
    return 0;
}

}  // namespace velq
