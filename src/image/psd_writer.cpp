#include "image/psd_writer.h"

#include <sys/types.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "host/parallel.h"
#include "host/utf8.h"
#include "image/packbits.h"

namespace velq {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Fields of the format are big-endian.
void put16(Bytes& b, std::uint32_t v) {
    b.push_back(std::uint8_t(v >> 8));
    b.push_back(std::uint8_t(v));
}
void put32(Bytes& b, std::uint32_t v) {
    put16(b, v >> 16);
    put16(b, v & 0xFFFF);
}
void put_text(Bytes& b, std::string_view s) {
    b.insert(b.end(), s.begin(), s.end());
}
void pad_to(Bytes& b, std::size_t from, std::size_t multiple) {
    while ((b.size() - from) % multiple != 0) b.push_back(0);
}
bool put(std::FILE* f, const Bytes& b) {
    return b.empty() || std::fwrite(b.data(), 1, b.size(), f) == b.size();
}

// The file's channel order (alpha first, then red, green, blue): ids and the byte of a BGRA pixel.
constexpr int kLayerChannelId[4] = {-1, 0, 1, 2};
constexpr int kLayerChannelByte[4] = {3, 2, 1, 0};
// The merged picture's order: red, green, blue, alpha.
constexpr int kMergedChannelByte[4] = {2, 1, 0, 3};

struct Box {
    int top = 0, left = 0, bottom = 0, right = 0;
    bool empty() const { return bottom <= top || right <= left; }
};

// The smallest box holding every pixel that is not fully transparent.
Box painted_box(const UBUFFER& p) {
    Box box{p.height(), p.width(), 0, 0};
    for (int y = 0; y < p.height(); ++y) {
        const std::uint8_t* row = p.row(y);
        int first = -1, last = -1;
        for (int x = 0; x < p.width(); ++x)
            if (row[4 * std::size_t(x) + 3] != 0) {
                if (first < 0) first = x;
                last = x;
            }
        if (first < 0) continue;
        box.top = std::min(box.top, y);
        box.bottom = y + 1;
        box.left = std::min(box.left, first);
        box.right = std::max(box.right, last + 1);
    }
    return box.empty() ? Box{} : box;
}

// One channel of a box in PackBits: the rows' coded lengths (16 bits each) into `counts`, the rows
// after one another into `data`.
void code_channel(const UBUFFER& p, const Box& box, int byte, Bytes& counts, Bytes& data) {
    std::vector<std::uint8_t> row(std::size_t(box.right - box.left));
    for (int y = box.top; y < box.bottom; ++y) {
        const std::uint8_t* src = p.row(y) + 4 * std::size_t(box.left) + byte;
        for (std::size_t x = 0; x < row.size(); ++x) row[x] = src[4 * x];
        const std::size_t before = data.size();
        packbits_encode(row, data);
        put16(counts, std::uint32_t(data.size() - before));
    }
}

// A layer's record: its box, its channels' lengths, blending, flags and names.
void put_record(Bytes& b, const PsdLayer& layer, const Box& box, const std::uint32_t (&lengths)[4]) {
    put32(b, std::uint32_t(box.top));
    put32(b, std::uint32_t(box.left));
    put32(b, std::uint32_t(box.bottom));
    put32(b, std::uint32_t(box.right));
    put16(b, 4);
    for (int c = 0; c < 4; ++c) {
        put16(b, std::uint16_t(std::int16_t(kLayerChannelId[c])));
        put32(b, lengths[c]);
    }
    put_text(b, "8BIMnorm");
    b.push_back(255);                               // opacity: the layer's transparency is in its alpha
    b.push_back(0);                                 // clipping: base
    b.push_back(0x08 | (layer.hidden ? 0x02 : 0));  // bit 1 hides the layer
    b.push_back(0);
    Bytes extra;
    put32(extra, 0);  // no mask
    put32(extra, 0);  // no blending ranges
    // The short name, Latin-1 (other characters as '?'), padded with its length byte to 4.
    const std::u16string wide = utf16_of(decode_utf8(layer.name));
    const std::size_t start = extra.size();
    extra.push_back(std::uint8_t(std::min<std::size_t>(wide.size(), 255)));
    for (std::size_t i = 0; i < wide.size() && i < 255; ++i)
        extra.push_back(wide[i] < 256 ? std::uint8_t(wide[i]) : '?');
    pad_to(extra, start, 4);
    // The full name in UTF-16.
    put_text(extra, "8BIMluni");
    Bytes uni;
    put32(uni, std::uint32_t(wide.size()));
    for (char16_t ch : wide) put16(uni, ch);
    pad_to(uni, 0, 4);
    put32(extra, std::uint32_t(uni.size()));
    extra.insert(extra.end(), uni.begin(), uni.end());
    put32(b, std::uint32_t(extra.size()));
    b.insert(b.end(), extra.begin(), extra.end());
}

bool copy_file(std::FILE* from, std::FILE* to) {
    if (std::fseek(from, 0, SEEK_SET) != 0) return false;
    std::vector<char> chunk(1 << 20);
    for (;;) {
        const std::size_t n = std::fread(chunk.data(), 1, chunk.size(), from);
        if (n > 0 && std::fwrite(chunk.data(), 1, n, to) != n) return false;
        if (n < chunk.size()) return std::ferror(from) == 0;
    }
}

// The merged picture: compression 1, every row's coded length (red rows, green, blue, alpha), then
// the rows. The lengths are known only once the rows are coded: they are written as zeros first and
// filled in afterwards.
bool put_merged(std::FILE* f, const UBUFFER& merged) {
    const int w = merged.width(), h = merged.height();
    Bytes head;
    put16(head, 1);
    if (!put(f, head)) return false;
    const off_t counts_at = ftello(f);
    Bytes counts;
    counts.reserve(std::size_t(h) * 8);
    if (!put(f, Bytes(std::size_t(h) * 8, 0))) return false;
    // Blocks of rows are coded on every core, then written in order: the same bytes on any machine.
    constexpr int kBlockRows = 64;
    const int blocks = (h + kBlockRows - 1) / kBlockRows;
    std::vector<Bytes> block_counts(static_cast<std::size_t>(blocks)),
        block_data(static_cast<std::size_t>(blocks));
    for (int c = 0; c < 4; ++c) {
        parallel_rows(
            0, blocks,
            [&](int b0, int b1) {
                for (int b = b0; b < b1; ++b) {
                    block_counts[std::size_t(b)].clear();
                    block_data[std::size_t(b)].clear();
                    const int y0 = b * kBlockRows, y1 = std::min(h, y0 + kBlockRows);
                    code_channel(merged, Box{y0, 0, y1, w}, kMergedChannelByte[c],
                                 block_counts[std::size_t(b)], block_data[std::size_t(b)]);
                }
            },
            1);
        for (int b = 0; b < blocks; ++b) {
            counts.insert(counts.end(), block_counts[std::size_t(b)].begin(),
                          block_counts[std::size_t(b)].end());
            if (!put(f, block_data[std::size_t(b)])) return false;
        }
    }
    const off_t end = ftello(f);
    return counts_at >= 0 && end >= 0 && fseeko(f, counts_at, SEEK_SET) == 0 && put(f, counts) &&
           fseeko(f, end, SEEK_SET) == 0;
}

}  // namespace

std::string psd_too_large_message(int width, int height) {
    return "The picture is too large to be saved as Photoshop (.psd): " + std::to_string(width) + " x " +
           std::to_string(height) + " pixels, at most " + std::to_string(kMaxPsdSide) + " on a side";
}

PsdResult write_psd(std::FILE* out, const UBUFFER& merged, int dpi, std::span<const PsdLayer> layers,
                    const PsdLayerPainter& paint) {
    const int w = merged.width(), h = merged.height();
    if (w > kMaxPsdSide || h > kMaxPsdSide) return PsdResult::TooLarge;
    if (!merged || merged.channels() != 4 || !out) return PsdResult::WriteFailed;

    // Layers first, each coded into the scratch file as soon as it is painted.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> scratch(layers.empty() ? nullptr : std::tmpfile(),
                                                            &std::fclose);
    if (!layers.empty() && !scratch) return PsdResult::WriteFailed;
    Bytes records;
    std::uint64_t channel_bytes = 0;
    if (!layers.empty()) {
        UBUFFER picture;
        if (!picture.allocate(w, h, 4)) return PsdResult::WriteFailed;
        Bytes counts[4], data[4], head;
        for (std::size_t i = 0; i < layers.size(); ++i) {
            if (!paint(int(i), picture)) return PsdResult::Stopped;
            const Box box = painted_box(picture);
            std::uint32_t lengths[4];
            // The four channels are coded at once, one per core.
            parallel_rows(
                0, 4,
                [&](int c0, int c1) {
                    for (int c = c0; c < c1; ++c) {
                        counts[c].clear();
                        data[c].clear();
                        if (!box.empty())
                            code_channel(picture, box, kLayerChannelByte[c], counts[c], data[c]);
                    }
                },
                1);
            for (int c = 0; c < 4; ++c) {
                head.clear();
                put16(head, box.empty() ? 0 : 1);  // an empty layer's channels are raw and hold nothing
                lengths[c] = std::uint32_t(head.size() + counts[c].size() + data[c].size());
                if (!put(scratch.get(), head) || !put(scratch.get(), counts[c]) ||
                    !put(scratch.get(), data[c]))
                    return PsdResult::WriteFailed;
                channel_bytes += lengths[c];
            }
            put_record(records, layers[i], box, lengths);
        }
    }

    Bytes head;
    put_text(head, "8BPS");
    put16(head, 1);
    head.insert(head.end(), 6, 0);
    put16(head, 4);  // red, green, blue, alpha
    put32(head, std::uint32_t(h));
    put32(head, std::uint32_t(w));
    put16(head, 8);
    put16(head, 3);  // RGB
    put32(head, 0);  // no colour mode data
    // Resources: the resolution, in pixels per inch as 16.16 fixed point.
    const std::uint32_t fixed = std::uint32_t(dpi > 0 ? dpi : 96) << 16;
    put32(head, 28);
    put_text(head, "8BIM");
    put16(head, 0x03ED);
    put16(head, 0);  // empty name, padded
    put32(head, 16);
    for (int axis = 0; axis < 2; ++axis) {
        put32(head, fixed);
        put16(head, 1);  // per inch
        put16(head, 1);  // sizes in inches
    }
    // Layer and mask information: the layer records, the channels in record order, padding.
    if (layers.empty()) {
        put32(head, 0);
    } else {
        std::uint64_t info = 2 + records.size() + channel_bytes;
        const std::uint64_t padding = (4 - info % 4) % 4;
        info += padding;
        if (info + 8 > 0xFFFFFFFFu) return PsdResult::TooLarge;
        put32(head, std::uint32_t(info + 8));
        put32(head, std::uint32_t(info));
        put16(head,
              std::uint16_t(-std::int16_t(layers.size())));  // negative: the merged alpha is transparency
        head.insert(head.end(), records.begin(), records.end());
        if (!put(out, head) || !copy_file(scratch.get(), out)) return PsdResult::WriteFailed;
        head.assign(std::size_t(padding), 0);
        put32(head, 0);  // no global mask
    }
    if (!put(out, head) || !put_merged(out, merged)) return PsdResult::WriteFailed;
    return std::ferror(out) ? PsdResult::WriteFailed : PsdResult::Written;
}

}  // namespace velq
