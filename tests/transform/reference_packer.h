// The packer written the plain way: after every circle, every corner of the current piece is
// examined again in outline order against every edge, and the first candidate wins. It shares the
// outline and its cut with the fast packer, so the two must give the same circles one for one.
#pragma once

#include <vector>

#include "support/circles.h"
#include "transform/corner.h"
#include "transform/outline_set.h"
#include "transform/packer.h"

namespace velq::test {

inline std::vector<Circle> reference_pack(const PackRegion& region, const PackOptions& o) {
    PackStats stats;
    const pack::CornerRules rules = pack::corner_rules(o);
    std::vector<Circle> out;
    if (!(rules.max_radius > 0)) return out;
    pack::OutlineSet set(region, 10.0);
    pack::CornerEvaluator eval(set, rules);
    for (int p = set.current_piece(); p >= 0; p = set.current_piece()) {
        bool found = false;
        if (set.piece(p).alive) {
            for (int v : set.corners_in_order(p)) {
                const pack::Candidate c = eval.evaluate(v, pack::EdgeSearch::All);
                if (!c.ok) continue;
                if (!set.cut(p, c.centre, c.radius, v, stats).done) continue;
                set.take_relabelled();
                out.push_back(circle(c.centre.x, c.centre.y, c.radius - rules.gap * 0.5));
                found = true;
                break;
            }
        }
        if (!found) set.finish_current();
    }
    return out;
}

}  // namespace velq::test
