// Pictures and label maps drawn as text in the segmentation tests: one character a pixel.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "image/buffer.h"
#include "support/pictures.h"

namespace velq::test {

// '.' white, '#' black, 'r' red, 'g' green, 'b' blue, 'y' yellow; anything else grey.
inline UBUFFER art_picture(const std::vector<std::string>& rows) {
    static const std::string keys = ".#rgby";
    static const std::uint32_t colours[] = {0xFFFFFFFFu, 0xFF000000u, 0xFFFF0000u, 0xFF00FF00u,
                                            0xFF0000FFu, 0xFFFFFF00u, 0xFF808080u};
    return make_picture(int(rows[0].size()), int(rows.size()),
                        [&](int x, int y) { return colours[std::min(keys.find(rows[y][x]), keys.size())]; });
}

// A label map whose cell is the digit of the character ('.' is 0).
inline IBUFFER art_labels(const std::vector<std::string>& rows) {
    IBUFFER map;
    map.allocate(int(rows[0].size()), int(rows.size()));
    for (int y = 0; y < map.height(); ++y)
        for (int x = 0; x < map.width(); ++x)
            map.at(x, y) = rows[y][x] == '.' ? 0 : std::uint32_t(rows[y][x] - '0');
    return map;
}

}  // namespace velq::test
