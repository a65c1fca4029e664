#include "segments/loops.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

#include "host/progress.h"

namespace velq {
namespace {

constexpr double kSame = 1e-5;
constexpr double kCell = 0.01;  // hash-grid cell for end points; much larger than kSame

bool same(const BoundaryPoint& a, const BoundaryPoint& b) {
    return std::hypot(a.x - b.x, a.y - b.y) < kSame;
}

// Open pieces by their end points, so that a chain end finds its candidates without looking at
// every piece. Lookups return piece indices in list order, which keeps the tie rule.
class EndIndex {
public:
    explicit EndIndex(const std::vector<BoundaryPiece>& pieces) {
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const BoundaryPiece& p = pieces[i];
            if (p.closed || p.points.size() < 2) continue;
            add(p.points.front(), i);
            if (key(p.points.back()) != key(p.points.front())) add(p.points.back(), i);
        }
    }

    void near(const BoundaryPoint& e, std::vector<std::size_t>& out) const {
        out.clear();
        const std::int64_t x0 = cell(e.x - kSame), x1 = cell(e.x + kSame);
        const std::int64_t y0 = cell(e.y - kSame), y1 = cell(e.y + kSame);
        for (std::int64_t cx = x0; cx <= x1; ++cx) {
            for (std::int64_t cy = y0; cy <= y1; ++cy) {
                auto it = cells_.find(pack(cx, cy));
                if (it != cells_.end()) out.insert(out.end(), it->second.begin(), it->second.end());
            }
        }
        std::sort(out.begin(), out.end());
        out.erase(std::unique(out.begin(), out.end()), out.end());
    }

private:
    static std::int64_t cell(double v) { return std::int64_t(std::floor(v / kCell)); }
    static std::uint64_t pack(std::int64_t cx, std::int64_t cy) {
        return (std::uint64_t(cx) << 32) ^ (std::uint64_t(cy) & 0xffffffffu);
    }
    static std::uint64_t key(const BoundaryPoint& p) { return pack(cell(p.x), cell(p.y)); }
    void add(const BoundaryPoint& p, std::size_t i) { cells_[key(p)].push_back(i); }

    std::unordered_map<std::uint64_t, std::vector<std::size_t>> cells_;
};

// One piece of a chain: its index, and whether it runs reversed.
struct Step {
    std::size_t piece;
    bool reversed;
    bool operator==(const Step&) const = default;
    bool operator<(const Step& o) const { return piece != o.piece ? piece < o.piece : reversed < o.reversed; }
};

enum class Outcome { Closed, Failed, Stopped };

struct Chain {
    std::vector<BoundaryPoint> points;
    std::vector<Step> steps;
};

void append(const BoundaryPiece& p, bool reversed, std::vector<BoundaryPoint>& out) {
    if (reversed)
        out.insert(out.end(), p.points.rbegin(), p.points.rend());
    else
        out.insert(out.end(), p.points.begin(), p.points.end());
}

BoundaryPoint unit(double x, double y) {
    const double len = std::hypot(x, y);
    return len > 0 ? BoundaryPoint{x / len, y / len} : BoundaryPoint{0, 0};
}

// Builds the chain that starts with piece `start` (reversed or not) and turns most sharply to the
// same side at every end, until it meets the starting piece again.
Outcome build_chain(const std::vector<BoundaryPiece>& pieces, const EndIndex& index, std::size_t start,
                    bool reversed, Host& host, Chain& chain, std::vector<std::size_t>& near) {
    chain.points.clear();
    chain.steps.clear();
    append(pieces[start], reversed, chain.points);
    chain.steps.push_back({start, reversed});
    if (pieces[start].closed) return Outcome::Closed;
    std::size_t last = start;
    for (;;) {
        if (host.stopped()) return Outcome::Stopped;
        const BoundaryPoint e = chain.points.back();
        const BoundaryPoint prev = chain.points[chain.points.size() - 2];
        const BoundaryPoint d = unit(prev.x - e.x, prev.y - e.y);
        index.near(e, near);
        double best = 10000;
        Step winner{0, false};
        bool found = false;
        for (std::size_t c : near) {
            if (c == last) continue;
            const auto& pts = pieces[c].points;
            BoundaryPoint towards;
            bool rev;
            if (same(pts.front(), e)) {
                towards = pts[1];
                rev = false;
            } else if (same(pts.back(), e)) {
                towards = pts[pts.size() - 2];
                rev = true;
            } else {
                continue;
            }
            if (c == start) return Outcome::Closed;
            const BoundaryPoint u = unit(towards.x - e.x, towards.y - e.y);
            const double s = std::hypot(d.x - u.x, d.y - u.y);
            const double cross = u.y * d.x - u.x * d.y;
            const double score = cross >= 0 ? 4 - s : s;
            if (score < best) {
                best = score;
                winner = {c, rev};
                found = true;
            }
        }
        if (!found) return Outcome::Failed;  // a dead end
        if (std::find(chain.steps.begin(), chain.steps.end(), winner) != chain.steps.end())
            return Outcome::Failed;  // going round a loop that does not come back to the start
        append(pieces[winner.piece], winner.reversed, chain.points);
        chain.steps.push_back(winner);
        last = winner.piece;
    }
}

// The loop without repeated points (a junction appears at the end of one piece and the start of
// the next) and without the closing repetition of its first point.
std::vector<BoundaryPoint> distinct_points(const std::vector<BoundaryPoint>& points) {
    std::vector<BoundaryPoint> out;
    out.reserve(points.size());
    for (const BoundaryPoint& p : points)
        if (out.empty() || !same(out.back(), p)) out.push_back(p);
    while (out.size() > 1 && same(out.front(), out.back())) out.pop_back();
    return out;
}

// The chain's steps from its smallest one on, so that the same loop met from another piece gives
// the same sequence.
std::vector<Step> canonical(const std::vector<Step>& steps) {
    std::vector<Step> out(steps);
    std::rotate(out.begin(), std::min_element(out.begin(), out.end()), out.end());
    return out;
}

std::uint64_t hash_steps(const std::vector<Step>& steps) {
    std::uint64_t h = 1469598103934665603ull;
    for (const Step& s : steps) {
        h ^= s.piece * 2 + (s.reversed ? 1 : 0);
        h *= 1099511628211ull;
    }
    return h;
}

}  // namespace

double turning_degrees(const std::vector<BoundaryPoint>& points) {
    const std::vector<BoundaryPoint> p = distinct_points(points);
    const std::size_t n = p.size();
    double sum = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const BoundaryPoint& a = p[(i + n - 1) % n];
        const BoundaryPoint& b = p[i];
        const BoundaryPoint& c = p[(i + 1) % n];
        const double ux = b.x - a.x, uy = b.y - a.y, vx = c.x - b.x, vy = c.y - b.y;
        sum += std::atan2(ux * vy - uy * vx, ux * vx + uy * vy) * (180.0 / 3.141592653589793);
    }
    return sum;
}

bool is_closed_path(const std::vector<BoundaryPoint>& points) {
    return std::fabs(turning_degrees(points) - 360.0) <= 1.0;
}

std::vector<Segment> detect_segments(std::vector<BoundaryPiece>& pieces, Host& host) {
    std::vector<Segment> result;
    Progress progress(host, "Detecting segments");
    for (BoundaryPiece& p : pieces) p.uses = 0;
    const EndIndex index(pieces);
    std::unordered_map<std::uint64_t, std::vector<std::vector<Step>>> loops;
    Chain chain;
    std::vector<std::size_t> near;
    const std::size_t n = pieces.size();
    for (std::size_t i = 0; i < n; ++i) {
        progress.set(int(double(i) * 100.0 / double(n)));
        if (host.stopped()) break;
        if (pieces[i].uses >= 2 || pieces[i].points.size() < 2) continue;
        int attempts = 0;
        for (bool reversed : {false, true}) {
            ++attempts;
            const Outcome out = build_chain(pieces, index, i, reversed, host, chain, near);
            if (out == Outcome::Stopped) return result;
            std::vector<BoundaryPoint> loop;
            if (out == Outcome::Closed) {
                loop = distinct_points(chain.points);
                if (loop.size() < 3) break;  // too small to be a region
                if (!is_closed_path(loop)) loop.clear();
            }
            if (loop.empty()) {
                // A third build from this piece would be the same chain again.
                if (attempts == 2) {
                    host.debug("Too many retrying...\n");
                    return result;
                }
                continue;
            }
            std::vector<Step> key = canonical(chain.steps);
            auto& bucket = loops[hash_steps(key)];
            if (std::find(bucket.begin(), bucket.end(), key) != bucket.end()) break;  // met before
            for (const Step& s : chain.steps) ++pieces[s.piece].uses;
            bucket.push_back(std::move(key));
            Segment seg;
            seg.loop.closed = true;
            seg.loop.points = std::move(loop);
            result.push_back(std::move(seg));
            break;
        }
    }
    return result;
}

}  // namespace velq
