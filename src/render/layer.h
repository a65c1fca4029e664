// A layer: one pass of the renderer over every circle with its own shapes, palette, colour options,
// size, transparency and brightness. The Document keeps nine; layer 0 is the grey base layer.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "render/animation_settings.h"
#include "render/passage_style.h"
#include "render/shape.h"

namespace velq {

// The passage font: face and the few attributes a font chooser gives.
struct FontDescription {
    std::string face = "Courier New";
    int height = 0;  // pixels; 0 lets the drawing code choose
    int weight = 0;  // 0 default, 400 normal, 700 bold
    bool italic = false;
};

class Layer {
public:
    static constexpr int kCount = 9;

    // With the default disc: one full-disc shape, current, and first-shape-only set.
    Layer(Host& host, bool with_default_disc);
    Layer(Layer&&) noexcept = default;
    Layer& operator=(Layer&&) noexcept = default;

    // Releases every shape; no current shape.
    void clear_shapes();
    // Every shape gets apply_layer_tone(brightness, transparency).
    void apply_tone();
    // Moves the shape cursor on for the next circle (the four cases of the cursor step).
    void next_shape();
    // Cursors to 0 and the first shape current (in passage mode the first drawn character's), as at
    // the start of every render of the layer.
    void rewind();
    // "Ly%d - %s T(%d)-S(%d)-B(%d)"
    std::string list_text(int index) const;
    // The "Trans", "Size" and "Bright" edits: the value is clamped (0..255, 0..300, 0 and up) and,
    // for Trans and Bright, every shape's tone is redone. False when the stored value did not change.
    bool set_transparency(int value);
    bool set_size(int value);
    bool set_brightness(int value);
    bool has_shapes() const { return !shapes.empty(); }

    // What the layer's shapes keep of their stencils between renders, all together: a passage
    // brings up to 128 shapes, each of which would otherwise keep up to its own budget.
    static constexpr std::size_t kStencilBudget = std::size_t(24) << 20;

    std::vector<std::unique_ptr<SHAPE>> shapes;
    std::shared_ptr<StencilBudget> stencil_budget = std::make_shared<StencilBudget>(kStencilBudget);
    int transparency = 255;  // 0..255
    int size = 100;          // percent of the circle's radius, 0..300
    int brightness = 100;    // percent, 0 and up
    int palette = 0;         // index into the palette table
    int shape_cursor = 0;
    int passage_cursor = 0;
    SHAPE* current = nullptr;
    AnimationSettings anim;
    std::u16string passage;
    bool passage_mode = false;
    bool case_folding = false;
    bool keep_blanks = false;  // passage blanks take a circle each (an empty shape) instead of none
    PassageStyle passage_style = PassageStyle::Flat;
    bool first_shape_only = false;
    bool random = false;  // "Radom"
    bool shuffle = false;
    bool invert = false;
    bool convert = false;
    bool shown = true;
    FontDescription font;
};

// The nine layers of a new Document: 0 and 1 with the default disc, 2..8 empty.
std::vector<Layer> make_default_layers(Host& host);

// "Reset layer": layer i becomes a new layer, with the default disc for layers 0 and 1.
void reset_layer(Host& host, std::vector<Layer>& layers, int i);
// "Set as default": layer i becomes a new layer with the default disc.
void set_layer_as_default(Host& host, std::vector<Layer>& layers, int i);

// Replaces the layer's shapes with shapes read from the files, in order, each toned with the layer's
// brightness and transparency. Stops at the first file that can't be read ("Failed to read shape in "
// and its path), keeping the shapes read before it; -1 then, else 0. An empty list changes nothing.
int load_shapes(Host& host, Layer& layer, std::span<const std::string> paths);

}  // namespace velq
