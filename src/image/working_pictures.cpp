#include "image/working_pictures.h"

#include <algorithm>
#include <cmath>

#include "host/progress.h"
#include "image/resample.h"

namespace velq {

int check_interpolation(Host& host, int interpolation, int blur) {
    if (blur > 10) {
        host.message("Too big blur");
        return -1;
    }
    if (blur < 0) {
        host.message("Blur must be 0 or more");
        return -1;
    }
    if (interpolation > 50) {
        host.message("Too big interpolation");
        return -1;
    }
    if (interpolation < 1) {
        host.message("Interpolation must be 1 or more");
        return -1;
    }
    return 0;
}

void interpol_size(int w, int h, int interpolation, std::int64_t memory_limit, int& out_w, int& out_h) {
    const std::int64_t f = interpolation;
    const std::int64_t bytes = std::int64_t(w) * h * f * f * 4;
    out_w = w;
    out_h = h;
    if (memory_limit > 0 && bytes > memory_limit) {
        const double s = std::sqrt(double(bytes) / double(memory_limit));
        // A long thin strip keeps at least one row or column.
        out_w = std::max(1, int(w / s));
        out_h = std::max(1, int(h / s));
    }
}

int init_interpol_buffer(Host& host, const UBUFFER& source, int interpolation, std::int64_t memory_limit,
                         UBUFFER& filter_buffer) {
    int w = 0, h = 0;
    interpol_size(source.width(), source.height(), interpolation, memory_limit, w, h);
    UBUFFER rz;
    if (!source || !rz.allocate(w, h, 4)) {
        host.message("Failed to allocate rz in init_interpol_buffer()");
        return -1;
    }
    if (w == source.width() && h == source.height()) {
        if (!copy_to(host, source, rz)) return -1;
    } else if (get_resized(host, source, rz) != 0) {
        return -1;
    }
    filter_buffer = std::move(rz);
    return 0;
}

int init_filter_buffer(Host& host, const UBUFFER& filter_buffer, int interpolation, int blur_radius,
                       WorkingPictures& out) {
    WorkingPictures made;
    if (!filter_buffer || filter_buffer.width() < 1 || filter_buffer.height() < 1) {
        if (!made.working.allocate(10, 10, 4)) {
            host.message("Failed to allocate filter_buffer in init_filter_buffer()");
            return -1;
        }
    } else {
        if (check_interpolation(host, interpolation, blur_radius) != 0) return -1;
        Progress progress(host, "Interpolating");
        const int f = interpolation;
        if (!made.working.allocate(enlarged_size(filter_buffer.width(), f),
                                   enlarged_size(filter_buffer.height(), f), 4, Init::Uninitialised)) {
            host.message("Failed to interpolate image init_interpol_buffer()");
            return -1;
        }
        // Enlarged in four bands of rows, all channels at once; the bar moves as it would per channel.
        const int rows = made.working.height();
        const int after[4] = {0, 30, 60, 90};
        for (int part = 0; part < 4; ++part) {
            enlarge_bilinear_rows(filter_buffer, made.working, f, rows * part / 4, rows * (part + 1) / 4);
            progress.set(after[part]);
        }
        if (blur(host, made.working, blur_radius * f) != 0) return -1;
    }
    const int w = made.working.width(), h = made.working.height();
    if (!made.view.allocate(w, h, 4) || !made.filtered.allocate(w, h, 4, Init::Uninitialised) ||
        !made.label_map.allocate(w, h, 1)) {
        host.message("Failed to allocate filter_buffer in init_filter_buffer()");
        return -1;
    }
    if (!copy_to(host, made.working, made.filtered)) return -1;
    out = std::move(made);
    return 0;
}

}  // namespace velq
