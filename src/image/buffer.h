// Raster buffers: every picture, mask, label map and summed-area table of the program.
// UBUFFER holds 8-bit samples (pictures are 4 channels: blue, green, red, alpha), DBUFFER doubles,
// IBUFFER unsigned 32-bit samples. Rows run top to bottom with no padding; sample (x, y, c) lies at
// (y * width + x) * channels + c. A buffer without data is absent: callers test it, not its size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "host/host.h"

namespace velq {

enum class Init { Zero, Uninitialised };

template <class T>
class Buffer {
public:
    using Sample = T;

    Buffer() = default;
    Buffer(Buffer&& o) noexcept { swap(o); }
    Buffer& operator=(Buffer&& o) noexcept {
        Buffer tmp(std::move(o));
        swap(tmp);
        return *this;
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    // Allocates width x height x channels samples (the product in 64 bits). On failure, or for a
    // negative or overflowing size, the host is told "Failed to allocate data" and the result is absent.
    static Buffer create(Host& host, int width, int height, int channels = 1, Init init = Init::Zero) {
        Buffer b;
        if (!b.allocate(width, height, channels, init)) host.message("Failed to allocate data");
        return b;
    }

    // The same without a message; false when the samples could not be had.
    bool allocate(int width, int height, int channels = 1, Init init = Init::Zero) noexcept {
        reset();
        if (width < 0 || height < 0 || channels < 1) return false;
        const std::uint64_t n = std::uint64_t(width) * std::uint64_t(height) * std::uint64_t(channels);
        if (n == 0 || n > kMaxSamples) return false;
        std::unique_ptr<T[]> d(new (std::nothrow) T[n]);
        if (!d) return false;
        if (init == Init::Zero) std::memset(d.get(), 0, n * sizeof(T));
        data_ = std::move(d);
        width_ = width;
        height_ = height;
        channels_ = channels;
        return true;
    }

    // Frees the samples; the buffer becomes absent.
    void reset() noexcept {
        data_.reset();
        width_ = height_ = channels_ = 0;
    }

    // An exact copy, or an absent buffer when memory is short.
    Buffer clone() const {
        Buffer b;
        if (data_ && b.allocate(width_, height_, channels_, Init::Uninitialised))
            std::memcpy(b.data(), data(), size() * sizeof(T));
        return b;
    }

    explicit operator bool() const noexcept { return data_ != nullptr; }
    bool same_shape(const Buffer& o) const noexcept {
        return width_ == o.width_ && height_ == o.height_ && channels_ == o.channels_;
    }

    int width() const noexcept { return width_; }
    int height() const noexcept { return height_; }
    int channels() const noexcept { return channels_; }
    std::size_t size() const noexcept { return std::size_t(width_) * height_ * channels_; }
    std::size_t row_samples() const noexcept { return std::size_t(width_) * channels_; }

    T* data() noexcept { return data_.get(); }
    const T* data() const noexcept { return data_.get(); }
    T* row(int y) noexcept { return data_.get() + std::size_t(y) * row_samples(); }
    const T* row(int y) const noexcept { return data_.get() + std::size_t(y) * row_samples(); }
    T& at(int x, int y, int c = 0) noexcept { return row(y)[std::size_t(x) * channels_ + c]; }
    const T& at(int x, int y, int c = 0) const noexcept { return row(y)[std::size_t(x) * channels_ + c]; }
    bool inside(int x, int y) const noexcept { return x >= 0 && y >= 0 && x < width_ && y < height_; }

    void fill(T v) noexcept { std::fill(data(), data() + size(), v); }

    void swap(Buffer& o) noexcept {
        std::swap(data_, o.data_);
        std::swap(width_, o.width_);
        std::swap(height_, o.height_);
        std::swap(channels_, o.channels_);
    }

    // Largest buffer we ever try to allocate: 2^36 samples. Anything bigger is a corrupt size.
    static constexpr std::uint64_t kMaxSamples = std::uint64_t(1) << 36;

private:
    std::unique_ptr<T[]> data_;
    int width_ = 0, height_ = 0, channels_ = 0;
};

using UBUFFER = Buffer<std::uint8_t>;
using DBUFFER = Buffer<double>;
using IBUFFER = Buffer<std::uint32_t>;

// Copies every sample when width, height and channels agree; otherwise says
// "Unable to copy buffer in UBUFFER::copy_to()" and leaves the destination as it was.
bool copy_to(Host& host, const UBUFFER& src, UBUFFER& dst);
// The DBUFFER copy, with its own message "Failed to copy DBUFFER".
bool copy_to(Host& host, const DBUFFER& src, DBUFFER& dst);

}  // namespace velq
