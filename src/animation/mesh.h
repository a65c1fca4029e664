// Meshes: what the animations produce at a timestamp and the rasteriser consumes. A primitive is one
// shape's stencil as a square quad in scene space (frame pixels, z = 0 the picture plane, negative z
// toward the camera), turned by up to three angles, carrying the look of its placement.
#pragma once

#include <cstdint>
#include <vector>

#include "animation/camera.h"
#include "segments/circle.h"

namespace velq {

struct Primitive {
    Circle look;              // shape, paint colour, brightness, transparency of the placement
    Vec3 centre;              // scene position of the quad's centre
    double half = 0;          // half side, scene pixels
    double spin = 0;          // radians about the view axis (clockwise on the frame)
    double tilt = 0;          // radians about the quad's horizontal axis
    double turn = 0;          // radians about the quad's vertical axis
    std::uint32_t order = 0;  // the still render's painting order; breaks ties between equal depths

    // Parallel to the picture and on it: painted exactly as the still render paints a placement.
    bool flat() const { return centre.z == 0.0 && spin == 0.0 && tilt == 0.0 && turn == 0.0; }
};

// A primitive as the camera sees it: its four corners on the frame (top-left, top-right,
// bottom-right, bottom-left of the stencil) with their depths.
struct ProjectedQuad {
    double x[4] = {}, y[4] = {}, depth[4] = {};
    Vec3 axis_u, axis_v;  // scene directions of the stencil's columns and rows (unit length)
    double centre_depth = 0;
    bool visible = false;  // false when a corner is nearer than the camera's near limit
};

class Mesh {
public:
    void clear() {
        prims_.clear();
        quads_.clear();
    }
    bool empty() const { return prims_.empty(); }
    std::size_t size() const { return prims_.size(); }
    void add(const Primitive& p) { prims_.push_back(p); }
    void append(const Mesh& other) { prims_.insert(prims_.end(), other.prims_.begin(), other.prims_.end()); }

    // Projects every primitive through the camera; flat primitives keep their frame geometry.
    void transform(const Camera& camera);

    const std::vector<Primitive>& primitives() const { return prims_; }
    // After transform(): one quad per primitive, in the same order.
    const std::vector<ProjectedQuad>& quads() const { return quads_; }

private:
    std::vector<Primitive> prims_;
    std::vector<ProjectedQuad> quads_;
};

}  // namespace velq
