#include "cli/pipeline.h"

#include <CLI/CLI.hpp>

#include "app/filter_and_transform.h"
#include "app/filter_driver.h"
#include "app/metadata.h"
#include "app/motion_pack_load.h"
#include "app/open_picture.h"
#include "cli/cli_host.h"
#include "image/picture_writer.h"

namespace velq::cli {

int open_and_filter(Document& doc, Host& host, const std::string& input) {
    if (open_picture(doc, host, input) != 0) return 1;
    if (do_filter(doc, host, FilterKind(doc.settings.filter_kind), doc.settings.memory_limit) != 0) return 1;
    return 0;
}

int open_and_transform(Document& doc, Host& host, const std::string& input, std::optional<double> min_size) {
    // A 3D model stands where a picture would: its surface samples are the circles.
    if (is_model_file(input)) return load_motion_pack(doc, host, input) == 0 ? 0 : 1;
    if (open_picture(doc, host, input) != 0) return 1;
    // Open writes Min again, so a Min given on the line goes back in after it.
    if (min_size) doc.settings.min_size = *min_size;
    return filter_and_transform(doc, host) == 0 ? 0 : 1;
}

int open_and_transform(Document& doc, Host& host, const std::string& input, const PictureOptions& picture,
                       const TransformOptions& transform) {
    usage_check(apply_picture_options(picture, doc));
    usage_check(apply_transform_options(transform, doc));
    return open_and_transform(doc, host, input, transform.min_size);
}

int read_result_settings(CliHost& host, const std::string& result, SettingsBlock& block) {
    if (read_metadata_block(host, result, block)) return 0;
    // A broken or old block has said so already.
    if (!host.said_something()) host.message("No metadata found!");
    return 1;
}

int open_with_settings(Document& doc, Host& host, const std::string& input, const SettingsBlock& block) {
    if (input.empty()) {
        switch (reopen_from_block(doc, host, block)) {
            case Reopen::Done:
                return 0;
            case Reopen::SourceUnreadable:
                host.message(source_unreadable_message(block.settings.source_path,
                                                       "give INPUT to use the settings on another picture"));
                return 1;
            case Reopen::ShapeFileFailed:
            case Reopen::Failed:
                return 1;
        }
    }
    if (!block_fits_document(doc, block)) {
        host.message("Invalid metadata found!");
        return 1;
    }
    if (open_picture(doc, host, input) != 0) return 1;
    apply_block_settings(doc, block.settings);
    if (apply_block_layers(doc, host, block) != 0) return 1;
    return apply_block_logo(doc, host, block.settings) == 0 ? 0 : 1;
}

int write_result(Host& host, const UBUFFER& picture, const std::string& output, int dpi) {
    const PictureError e = write_picture(output, picture, dpi);
    if (e == PictureError::None) return 0;
    host.message(picture_error_message(e, output));
    return 1;
}

void usage_check(const std::string& error) {
    if (!error.empty()) throw CLI::ValidationError(error);
}

}  // namespace velq::cli
