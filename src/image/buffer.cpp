#include "image/buffer.h"

namespace velq {

namespace {
template <class T>
bool copy_samples(const Buffer<T>& src, Buffer<T>& dst) {
    if (!src || !dst || !src.same_shape(dst)) return false;
    std::memcpy(dst.data(), src.data(), src.size() * sizeof(T));
    return true;
}
}  // namespace

bool copy_to(Host& host, const UBUFFER& src, UBUFFER& dst) {
    if (copy_samples(src, dst)) return true;
    host.message("Unable to copy buffer in UBUFFER::copy_to()");
    return false;
}

bool copy_to(Host& host, const DBUFFER& src, DBUFFER& dst) {
    if (copy_samples(src, dst)) return true;
    host.message("Failed to copy DBUFFER");
    return false;
}

}  // namespace velq
