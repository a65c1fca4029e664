#include "app/drawing_op.h"
#include "app/filter_and_transform.h"
#include "app/metadata.h"
#include "app/motion_pack_load.h"
#include "app/open_picture.h"
#include "app/render_op.h"
#include "image/file_types.h"
#include "image/picture_reader.h"

namespace velq {

std::string source_unreadable_message(const std::string& source, std::string_view instead) {
    return "The picture these settings were made from cannot be read (" + source + "); " +
           std::string(instead);
}

Reopen reopen_from_block(Document& doc, Host& host, const SettingsBlock& block) {
    const SettingsRecord& r = block.settings;
    if (!block_fits_document(doc, block)) {
        host.message("Invalid metadata found!");
        return Reopen::Failed;
    }
    if (r.motion_pack) {
        // The pack is read before anything of the Document changes: a missing model leaves it as it was.
        if (!file_exists(r.source_path)) {
            host.message("Failed to load motion pack- " + r.source_path);
            return Reopen::Failed;
        }
        apply_block_settings(doc, r);
        if (load_motion_pack(doc, host, r.source_path) != 0) return Reopen::Failed;
        const bool layers = apply_block_layers(doc, host, block) == 0;
        const bool logo = apply_block_logo(doc, host, r) == 0;
        return layers && logo ? Reopen::Done : Reopen::ShapeFileFailed;
    }
    host.status(1, "Reading from...");
    PictureRead source = read_picture(r.source_path);
    if (!source) {
        host.status(1, "");
        return Reopen::SourceUnreadable;
    }
    apply_block_settings(doc, r);
    doc.reset();
    init_operation(doc);
    if (install_picture(doc, host, std::move(source), r.source_path) != 0) return Reopen::Failed;
    host.refresh(Refresh::View);
    const bool layers = apply_block_layers(doc, host, block) == 0;
    const bool logo = apply_block_logo(doc, host, r) == 0;
    return layers && logo ? Reopen::Done : Reopen::ShapeFileFailed;
}

int remake_from_block(Document& doc, Host& host, const SettingsBlock& block, const std::string& saved) {
    // A layer whose shape file is gone was reported; the result is remade with what could be read.
    switch (reopen_from_block(doc, host, block)) {
        case Reopen::Done:
        case Reopen::ShapeFileFailed:
            break;
        case Reopen::SourceUnreadable:
            if (saved.empty()) {
                host.message(source_unreadable_message(block.settings.source_path, "nothing was opened"));
                return -1;
            }
            host.message(
                source_unreadable_message(block.settings.source_path, "the saved picture is opened instead"));
            return open_picture(doc, host, saved);
        case Reopen::Failed:
            return -1;
    }
    if (filter_and_transform(doc, host) != 0) return -1;
    restore_output_size(doc, block.settings);
    int width = 0, height = 0;
    render_size(doc, width, height);
    if (generate_shaped_image(doc, host, width, height) != 0 || !doc.rendered) return -1;
    return redraw_recorded(doc, host);
}

int read_metadata(Document& doc, Host& host, const std::string& path) {
    SettingsBlock block;
    if (!read_metadata_block(host, path, block)) {
        host.message("Failed to read meta data");
        return -1;
    }
    return remake_from_block(doc, host, block, path);
}

int open_or_reuse(Document& doc, Host& host, const std::string& path) {
    if (file_exists(path) && detect_metadata(host, path) && host.ask("Meta data detect. Use it?"))
        return read_metadata(doc, host, path);
    return open_picture(doc, host, path);
}

int paste_metadata(Document& doc, Host& host, std::span<const std::uint8_t> bytes) {
    SettingsBlock block;
    switch (decode_block_body(bytes, block)) {
        case BlockStatus::Ok:
            break;
        case BlockStatus::OtherVersion:
            host.message("Found a meta data of the previous version in paste_metadata()");
            return -1;
        case BlockStatus::None:
        case BlockStatus::Invalid:
            host.message("Invalid metadata in paste_metadata()");
            return -1;
    }
    if (!block_fits_document(doc, block)) {
        host.message("Invalid metadata in paste_metadata()");
        return -1;
    }
    apply_block_settings(doc, block.settings);
    apply_block_layers(doc, host, block);
    apply_block_logo(doc, host, block.settings);
    // Without a picture the settings wait for the next one.
    if (!doc.source) return 0;
    const int result = filter_and_transform(doc, host);
    host.refresh(Refresh::View);
    return result;
}

}  // namespace velq
