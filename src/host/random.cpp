#include "host/random.h"

#include <ctime>

namespace velq {

std::uint32_t SeedSource::time_seed() const {
    return fixed_ ? seed_ : static_cast<std::uint32_t>(std::time(nullptr));
}

}  // namespace velq
