// ANIMATION: the motion object that every shape layer owns. The kinds derive from it; the framework
// asks each for the meshes of its moving and settled shapes at a timestamp.
#pragma once

namespace velq {

class ANIMATION {
public:
    virtual ~ANIMATION() = default;
};

}  // namespace velq
