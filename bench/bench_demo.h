// The bundled demo picture brought to the state a benchmark starts from, and files in a benchmark's
// own temporary folder.
#pragma once

#include <filesystem>
#include <string>

#include "app/document.h"
#include "app/filter_driver.h"
#include "app/open_picture.h"
#include "app/transform_driver.h"

namespace velq::bench {

// Opens data/demo.jpg, filters it (Normal) and packs it (Normal) with the given Max. False when a
// step failed or no circle was packed.
inline bool transform_demo(Document& doc, Host& host, double max_size = 0.02) {
    if (open_picture(doc, host, VELQ_DATA_DIR "/demo.jpg") != 0) return false;
    doc.settings.max_size = max_size;
    if (do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit) != 0) return false;
    return do_transform(doc, host, TransformMode::Normal, false) == 0 && !doc.circles.empty();
}

// `name` inside the temporary folder `folder`, which is made when missing.
inline std::string bench_path(const std::string& folder, const std::string& name) {
    const auto dir = std::filesystem::temp_directory_path() / folder;
    std::filesystem::create_directories(dir);
    return (dir / name).string();
}

}  // namespace velq::bench
