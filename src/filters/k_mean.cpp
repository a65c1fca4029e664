#include "filters/k_mean.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <vector>

#include "host/parallel.h"
#include "host/progress.h"
#include "host/random.h"

namespace velq {

namespace {

constexpr double kFarAway = 5000000000.0;
// Colours handled together in the assignment: small enough to stay in the first-level cache while
// every centre is compared against them, large enough to make the stop check rare.
constexpr int kBlock = 512;

// Sums of samples 0..255 over at most 2^24 colours: exact in 64-bit integers, and equal to the sums a
// double accumulator would reach, since every partial sum of such integers is exact in a double too.
struct Sums {
    std::int64_t r = 0, g = 0, b = 0;
};

using ColourTable = Buffer<std::int32_t>;

// The distinct colours as table indices in ascending order, and the cluster of each (-1 at first).
struct Colours {
    std::vector<std::uint32_t> index;
    std::vector<std::int32_t> cluster;
    int size() const { return int(index.size()); }
};

// Marks every colour present with 1; false when stopped part-way.
bool mark_colours(Host& host, const UBUFFER& picture, ColourTable& table) {
    std::int32_t* t = table.data();
    const int w = picture.width(), ch = picture.channels();
    parallel_rows(0, picture.height(), [&](int y0, int y1) {
        for (int y = y0; y < y1 && !host.stopped(); ++y) {
            const std::uint8_t* p = picture.row(y);
            // Threads may mark the same colour: the stores are atomic and all store 1.
            for (int x = 0; x < w; ++x, p += ch)
                std::atomic_ref<std::int32_t>(t[colour_index(p)]).store(1, std::memory_order_relaxed);
        }
    });
    return !host.stopped();
}

// Walks the table in ascending order (red outermost, then green, then blue) and lists the marked
// entries. Each thread takes whole red values, so the concatenation keeps the order.
bool list_colours(Host& host, const ColourTable& table, Colours& colours) {
    const std::int32_t* t = table.data();
    std::vector<int> per_red(256, 0);
    parallel_rows(
        0, 256,
        [&](int r0, int r1) {
            for (int r = r0; r < r1 && !host.stopped(); ++r) {
                const std::int32_t* e = t + (std::size_t(r) << 16);
                int n = 0;
                for (int i = 0; i < 65536; ++i) n += e[i] != 0;
                per_red[r] = n;
            }
        },
        1);
    if (host.stopped()) return false;
    std::vector<std::size_t> start(257, 0);
    for (int r = 0; r < 256; ++r) start[r + 1] = start[r] + per_red[r];
    colours.index.resize(start[256]);
    colours.cluster.assign(start[256], -1);
    parallel_rows(
        0, 256,
        [&](int r0, int r1) {
            for (int r = r0; r < r1 && !host.stopped(); ++r) {
                const std::uint32_t base = std::uint32_t(r) << 16;
                std::uint32_t* out = colours.index.data() + start[r];
                for (std::uint32_t i = 0; i < 65536; ++i)
                    if (t[base + i] != 0) *out++ = base + i;
            }
        },
        1);
    return !host.stopped();
}

// Centre j copies colour number rand() mod K of the ascending list (so always one of the first K).
// With fewer colours than that, the number wraps around the list: centres repeat.
bool choose_centres(Host& host, const Colours& colours, std::vector<KMeanCentre>& centres) {
    Random rng(0);
    const int k = int(centres.size()), n = colours.size();
    for (int j = 0; j < k; ++j) {
        if (host.stopped()) return false;
        int i = rng.next() % k;
        if (i >= n) i %= n;
        const std::uint32_t c = colours.index[i];
        centres[j] = {double(c >> 16), double((c >> 8) & 0xFF), double(c & 0xFF), 255.0};
    }
    return true;
}

// Each colour joins the nearest centre; ties go to the lower centre number, as when the centres are
// tried in ascending order and only a strictly smaller distance replaces the best one.
bool assign(Host& host, Colours& colours, const std::vector<KMeanCentre>& centres) {
    const int n = colours.size(), k = int(centres.size());
    const int blocks = (n + kBlock - 1) / kBlock;
    parallel_rows(
        0, blocks,
        [&](int b0, int b1) {
            double cr[kBlock], cg[kBlock], cb[kBlock], best[kBlock];
            std::int32_t cl[kBlock];
            for (int blk = b0; blk < b1 && !host.stopped(); ++blk) {
                const int first = blk * kBlock, m = std::min(kBlock, n - first);
                for (int i = 0; i < m; ++i) {
                    const std::uint32_t c = colours.index[first + i];
                    cr[i] = double(c >> 16);
                    cg[i] = double((c >> 8) & 0xFF);
                    cb[i] = double(c & 0xFF);
                    best[i] = kFarAway;
                    cl[i] = colours.cluster[first + i];
                }
                for (int j = 0; j < k; ++j) {
                    const KMeanCentre& z = centres[j];
                    const double da = 255.0 - z.a, a2 = da * da;
                    for (int i = 0; i < m; ++i) {
                        const double dr = cr[i] - z.r, dg = cg[i] - z.g, db = cb[i] - z.b;
                        const double d = dr * dr + dg * dg + db * db + a2;
                        const bool closer = d < best[i];
                        best[i] = closer ? d : best[i];
                        cl[i] = closer ? j : cl[i];
                    }
                }
                std::copy(cl, cl + m, colours.cluster.data() + first);
            }
        },
        1);
    return !host.stopped();
}

// Moves every centre that has colours to their mean; a centre without colours keeps its values.
// The sums are exact, so splitting them over threads changes nothing.
bool update(Host& host, const Colours& colours, std::vector<KMeanCentre>& centres,
            std::vector<std::int32_t>& counts, std::vector<Sums>& sums) {
    const int k = int(centres.size()), n = colours.size();
    const int tasks = std::max(1, std::min(worker_count(), n / 65536));
    std::vector<std::vector<std::int32_t>> part_counts(tasks - 1, std::vector<std::int32_t>(k, 0));
    std::vector<std::vector<Sums>> part_sums(tasks - 1, std::vector<Sums>(k));
    std::fill(counts.begin(), counts.end(), 0);
    std::fill(sums.begin(), sums.end(), Sums{});
    parallel_rows(
        0, tasks,
        [&](int t0, int t1) {
            for (int t = t0; t < t1; ++t) {
                std::int32_t* cnt = t == 0 ? counts.data() : part_counts[t - 1].data();
                Sums* sum = t == 0 ? sums.data() : part_sums[t - 1].data();
                const int first = int(std::int64_t(n) * t / tasks),
                          last = int(std::int64_t(n) * (t + 1) / tasks);
                for (int i = first; i < last; ++i) {
                    if ((i & 0xFFFF) == 0 && host.stopped()) return;
                    const int c = colours.cluster[i];
                    if (c < 0) continue;
                    const std::uint32_t v = colours.index[i];
                    cnt[c] += 1;
                    sum[c].r += double(v >> 16);
                    sum[c].g += double((v >> 8) & 0xFF);
                    sum[c].b += double(v & 0xFF);
                }
            }
        },
        1);
    if (host.stopped()) return false;
    for (int t = 0; t + 1 < tasks; ++t) {
        for (int j = 0; j < k; ++j) {
            counts[j] += part_counts[t][j];
            sums[j].r += part_sums[t][j].r;
            sums[j].g += part_sums[t][j].g;
            sums[j].b += part_sums[t][j].b;
        }
    }
    for (int j = 0; j < k; ++j) {
        if (counts[j] == 0) continue;
        centres[j].r = double(sums[j].r) / counts[j];
        centres[j].g = double(sums[j].g) / counts[j];
        centres[j].b = double(sums[j].b) / counts[j];
    }
    return true;
}

}  // namespace

void paint_clusters(UBUFFER& picture, const std::int32_t* table, std::span<const KMeanCentre> centres) {
    struct Bgr {
        std::uint8_t b, g, r;
    };
    std::vector<Bgr> bytes(centres.size());
    for (std::size_t j = 0; j < centres.size(); ++j)
        bytes[j] = {std::uint8_t(centres[j].b), std::uint8_t(centres[j].g), std::uint8_t(centres[j].r)};
    const int w = picture.width(), ch = picture.channels();
    parallel_rows(0, picture.height(), [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            std::uint8_t* p = picture.row(y);
            for (int x = 0; x < w; ++x, p += ch) {
                const std::int32_t c = table[colour_index(p)];
                if (c < 0) continue;  // never assigned: Stop came first
                p[0] = bytes[c].b;
                p[1] = bytes[c].g;
                p[2] = bytes[c].r;
                p[3] = 255;
            }
        }
    });
}

int reduce_color_by_k_mean(Host& host, UBUFFER& picture, int k) {
    if (k < 2) {
        host.message("Invalid K-Mean value. It must be larger than 1");
        return -1;
    }
    if (!picture || picture.channels() < 4) return -1;
    ColourTable table;
    std::vector<std::int32_t> counts;
    std::vector<Sums> sums;
    std::vector<KMeanCentre> centres;
    try {
        if (!table.allocate(int(kColourTableSize), 1, 1, Init::Zero)) throw std::bad_alloc();
        counts.assign(k, 0);
        sums.assign(k, Sums{});
        centres.assign(k, KMeanCentre{});
    } catch (const std::exception&) {
        host.message("Failed to allocate palette in reduce_color_by_k_mean()");
        return -1;
    }
    Progress progress(host, "Reducing colors by k-mean");

    Colours colours;
    try {
        if (mark_colours(host, picture, table) && list_colours(host, table, colours) && colours.size() > 0 &&
            choose_centres(host, colours, centres)) {
            for (int i = 0; i < kKMeanIterations; ++i) {
                if (!assign(host, colours, centres)) break;
                if (!update(host, colours, centres, counts, sums)) break;
                progress.update(i, kKMeanIterations);
            }
        }
    } catch (const std::bad_alloc&) {
        host.message("Failed to allocate palette in reduce_color_by_k_mean()");
        return -1;
    }

    // Colours never listed or never assigned (after Stop) stay -1, so their pixels keep their values.
    table.fill(-1);
    for (int i = 0; i < colours.size(); ++i) table.data()[colours.index[i]] = colours.cluster[i];
    paint_clusters(picture, table.data(), centres);
    return 0;
}

}  // namespace velq
