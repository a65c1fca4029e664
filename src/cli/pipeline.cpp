#include "cli/pipeline.h"

#include <CLI/CLI.hpp>

#include "app/filter_driver.h"
#include "app/open_picture.h"
#include "app/transform_driver.h"
#include "image/picture_writer.h"

namespace velq::cli {

int open_and_filter(Document& doc, Host& host, const std::string& input) {
    if (open_picture(doc, host, input) != 0) return 1;
    if (do_filter(doc, host, FilterKind(doc.settings.filter_kind), doc.settings.memory_limit) != 0) return 1;
    return 0;
}

int open_and_transform(Document& doc, Host& host, const std::string& input, std::optional<double> min_size) {
    const int mode = doc.settings.transform_mode;
    if (open_and_filter(doc, host, input) != 0) return 1;
    if (min_size) doc.settings.min_size = *min_size;
    if (do_transform(doc, host, TransformMode(mode), false) != 0) return 1;
    return 0;
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
