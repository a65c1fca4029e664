// The Document: the one state that a window or the tool owns. Every picture, segment, circle,
// layer and palette of a session lives here; operations take it together with a Host.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/logo_source.h"
#include "app/settings.h"
#include "host/random.h"
#include "image/buffer.h"
#include "motion/motion_pack.h"
#include "render/layer.h"
#include "render/palette.h"
#include "segments/circle.h"
#include "segments/segment.h"

namespace velq {

// Which pictures the view shows (the View menu's toggles).
struct ViewToggles {
    bool original = true;       // "Original image"
    bool edges = true;          // "Edges and Circles"
    bool filtered = true;       // "Filtered result"
    bool final_result = true;   // "Final result"
    bool all_enclosed = false;  // "All enclosed selection"
};

struct Document {
    explicit Document(Host& host);

    Settings settings;

    UBUFFER source;         // the picture as read, BGRA
    UBUFFER filter_buffer;  // source shrunk so that its enlargement fits the memory limit
    UBUFFER working;        // filter buffer enlarged by INT and blurred
    UBUFFER filtered;       // result of the last filter; alpha says how strongly it covers the view
    UBUFFER view;           // the composed view, working size
    UBUFFER render_buffer;  // the rendered result
    UBUFFER frame_buffer;   // the last animation frame shown (Render frame, video export)
    IBUFFER label_map;      // segment number per working pixel, 1-based; 0 none
    IBUFFER bs_buffer;      // brush-size map of the last Normal transform
    // What the filter buffer and the working picture were built with from this source (none when
    // they were not built from it), so a filter run on the same settings takes them as they are.
    struct WorkingKey {
        int interpolation = 0, blur = 0;
        std::int64_t memory_limit = 0;
        bool operator==(const WorkingKey&) const = default;
    };
    std::optional<WorkingKey> working_built;

    std::vector<BoundaryPiece> pieces;  // boundary pieces: segment edges and circle outlines
    std::vector<Segment> segments;
    std::vector<Circle> circles;  // free circles of the Normal transform
    std::vector<Layer> layers;    // nine; 0 is the base layer
    std::vector<Palette> palettes;

    int selected_layer = 1;
    int selected_palette = 0;
    int selected_segment = -1;
    int selected_outline = -1;  // segment whose outline is picked; -1 none
    int hovered_outline = -1;

    std::uint32_t background = 0;  // packed colour, red in the low byte; black at start
    UBUFFER logo;                  // BGRA; absent when no logo is chosen
    int logo_transparency = 255;
    std::optional<LogoChoice> logo_choice;  // what made `logo`, so that a saved result can make it again

    std::string path;                               // current picture, or the motion pack when one is loaded
    std::shared_ptr<const MotionPack> motion_pack;  // the loaded pack (motion_pack_loaded)
    ViewAngles pack_view;                           // how a pack without a camera of its own is seen
    ViewToggles toggles;
    SeedSource seeds;  // "seed with the current time", or the run seed

    // Result states.
    bool picture_loaded = false;
    bool transformed = false;
    bool rendered = false;
    bool motion_pack_loaded = false;
    bool flag_byte = false;  // carried in the settings block
    // The 21 selections of the cycling dialogs (motions 0-4, scan orders 0-7, filters 1-8); all on at
    // start-up, carried in the settings block.
    std::array<bool, 21> cycling = [] {
        std::array<bool, 21> all;
        all.fill(true);
        return all;
    }();

    // Frees everything that depends on the current picture (a new picture is coming).
    void reset();
    // The settings snapshot taken when the last render finished (what Save records), with the
    // background and logo it was made with.
    Settings rendered_settings;
    std::uint32_t rendered_background = 0;
    std::optional<LogoChoice> rendered_logo;
};

}  // namespace velq
