// The fields that a layer and its settings-block record hold alike, listed once for saving and for
// reopening. Shapes, cursors and the flags that loading shapes resets are handled by each side.
#pragma once

#include "persistence/layer_record.h"
#include "render/layer.h"

namespace velq {

// Calls `copy(layer_member, record_member)` for every shared field; constness of the arguments
// decides the direction.
template <class LayerT, class RecordT, class Copy>
void for_each_shared_layer_field(LayerT& layer, RecordT& r, Copy copy) {
    copy(layer.transparency, r.transparency);
    copy(layer.size, r.size);
    copy(layer.brightness, r.brightness);
    copy(layer.palette, r.palette);
    copy(layer.anim, r.anim);
    copy(layer.case_folding, r.case_folding);
    copy(layer.random, r.random);
    copy(layer.shuffle, r.shuffle);
    copy(layer.invert, r.invert);
    copy(layer.convert, r.convert);
    copy(layer.shown, r.shown);
    copy(layer.font.face, r.font.face);
    copy(layer.font.height, r.font.height);
    copy(layer.font.weight, r.font.weight);
    copy(layer.font.italic, r.font.italic);
    copy(layer.keep_blanks, r.keep_blanks);
}

}  // namespace velq
