#include "app/document.h"

namespace velq {

Document::Document(Host& host) : layers(make_default_layers(host)), palettes(make_palettes()) {}

void Document::reset() {
    source.reset();
    filter_buffer.reset();
    working.reset();
    filtered.reset();
    view.reset();
    render_buffer.reset();
    label_map.reset();
    bs_buffer.reset();
    working_built.reset();
    pieces.clear();
    segments.clear();
    circles.clear();
    selected_segment = -1;
    selected_outline = -1;
    hovered_outline = -1;
    picture_loaded = false;
    transformed = false;
    rendered = false;
    motion_pack_loaded = false;
    motion_pack.reset();
}

}  // namespace velq
