// The one random generator behind every random feature: the classic LCG x = x * 214013 + 2531011
// with outputs (x >> 16) & 0x7FFF, so values lie in 0..32767 as the formulas that use them assume.
// Runs are reproducible: the run seed comes from the clock by default and from --seed when given.
#pragma once

#include <cstdint>

namespace velq {

class Random {
public:
    static constexpr int kMax = 32767;

    explicit Random(std::uint32_t seed = 1) : x_(seed) {}
    void seed(std::uint32_t s) { x_ = s; }
    int next() {
        x_ = x_ * 214013u + 2531011u;
        return int((x_ >> 16) & 0x7FFF);
    }

private:
    std::uint32_t x_;
};

// Where "seed with the current time" draws its seed: the clock, or a fixed run seed for reproducible
// runs. Owned by the Document; features that reseed ask it for the seed each time.
class SeedSource {
public:
    // A fixed run seed (from --seed); without one the clock is used.
    void fix(std::uint32_t seed) {
        fixed_ = true;
        seed_ = seed;
    }
    void unfix() { fixed_ = false; }
    bool fixed() const { return fixed_; }
    // The seed for "srand(time(NULL))": the run seed when fixed, else the current time in seconds.
    std::uint32_t time_seed() const;

private:
    bool fixed_ = false;
    std::uint32_t seed_ = 0;
};

}  // namespace velq
