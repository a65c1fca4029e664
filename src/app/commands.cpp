#include "app/commands.h"

#include <algorithm>
#include <array>

namespace velq {

namespace {

using enum Need;
using enum Gate;
using enum Check;

// Why a command is greyed. Capabilities nobody has designed yet say so; the rest are being built.
// The test video only repeated what any video export does; exporting the result checks the encoder.
constexpr std::string_view kNoTestVideo = "Not offered: export a video of the result to check the encoder";
constexpr std::string_view kNoPipeline = "Not available yet: this operation is being built";

constexpr std::string_view kFile = "File";
constexpr std::string_view kVideo = "File/Export video";
constexpr std::string_view kSocial = "File/Social media";
constexpr std::string_view kEdit = "Edit";
constexpr std::string_view kView = "View";
constexpr std::string_view kFilter = "Filter";
constexpr std::string_view kTransform = "Transform";
constexpr std::string_view kRun = "Run";
constexpr std::string_view kMemory = "Memory";
constexpr std::string_view kLayers = "Layers";
constexpr std::string_view kShapesFrom = "Layers/Load shapes from";
constexpr std::string_view kSegments = "Segments";
constexpr std::string_view kHelp = "Help";

// clang-format off
constexpr std::array kCommands = {
    // id                          text                      menu        need         gate         busy   check      shortcut        unavailable
    Command{cmd::kOpen,            "Open",                   kFile,      None,        Always,      false, Plain,     "Ctrl+O",       {}},
    Command{cmd::kLoadMotionPack,  "Load motion-pack",       kFile,      None,        Always,      true,  Plain,     "",             {}},
    Command{cmd::kLoadLayers,      "Load layers",            kFile,      None,        Always,      false, Plain,     "",             {}},
    Command{cmd::kLoadLogo,        "Load logo",              kFile,      None,        Always,      true,  Plain,     "",             {}},
    Command{cmd::kSave,            "Save",                   kFile,      Result,      Picture,     false, Plain,     "Ctrl+S",       {}},
    Command{cmd::kVideo640,        "640 x 480",              kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kVideo960,        "960 x 540",              kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kVideo1280,       "1280 x 720",             kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kVideo1920,       "1920 x 1080",            kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kVideo2560,       "2560 x 1440",            kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kVideo3840,       "3840 x 2160",            kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kCustomize,       "Customize",              kVideo,     Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kSocialFit,       "Fit",                    kSocial,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kSocialStretch,   "Stretch",                kSocial,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kExportGif,       "Export to a GIFs",       kFile,      Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kFramePsd,        "Export frame to PSD",    kFile,      Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kCycling,         "Cycling",                kFile,      ResultFirst, Picture,     false, Plain,     "",             {}},
    Command{cmd::kExit,            "Exit",                   kFile,      None,        Always,      false, Plain,     "Ctrl+Q",       {}},
    Command{cmd::kCopyMetadata,    "Copy metadata",          kEdit,      None,        Picture,     false, Plain,     "Ctrl+Shift+C", {}},
    Command{cmd::kPasteMetadata,   "Paste metadata",         kEdit,      None,        Picture,     false, Plain,     "Ctrl+Shift+V", {}},
    Command{cmd::kClearClipboard,  "Clear clipboard",        kEdit,      None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kResetView,       "Reset view",             kView,      None,        Always,      true,  Plain,     "Ctrl+0",       {}},
    Command{cmd::kViewOriginal,    "Original image",         kView,      None,        Always,      true,  Toggle,    "",             {}},
    Command{cmd::kViewEdges,       "Edges and Circles",      kView,      None,        Always,      true,  Toggle,    "",             {}},
    Command{cmd::kViewFiltered,    "Filtered result",        kView,      None,        Always,      true,  Toggle,    "",             {}},
    Command{cmd::kViewFinal,       "Final result",           kView,      None,        Always,      true,  Toggle,    "",             {}},
    Command{cmd::kFilterNormal,    "Normal",                 kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterHalfShuffle, "Half shuffle",         kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterTripleShuffle, "Triple shuffle",     kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterMatrix,    "Matrix",                 kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterInverseContrast, "Inverse contrast", kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterContrastUp, "Contrast up",           kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterPrism,     "Prism",                  kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterBrokenGlass, "Broken glass",         kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kFilterKMean,     "K-mean",                 kFilter,    None,        Picture,     false, Filter,    "",             {}},
    Command{cmd::kTransformNormal, "Normal",                 kTransform, None,        Picture,     false, Transform, "",             {}},
    Command{cmd::kTransformVectorize, "Vectorize",           kTransform, None,        Picture,     false, Transform, "",             {}},
    Command{cmd::kTransformAlphabet, "Alphabet",             kTransform, None,        Picture,     false, Transform, "",             {}},
    Command{cmd::kRender,          "Render",                 kTransform, None,        Transformed, false, Plain,     "F5",           {}},
    Command{cmd::kRenderFrame,     "Render frame",           kTransform, Result,      Picture,     false, Plain,     "",             {}},
    Command{cmd::kSkip,            "Skip",                   kRun,       None,        Always,      true,  Plain,     "",             {}},
    Command{cmd::kStop,            "Stop",                   kRun,       None,        Always,      true,  Plain,     "Esc",          {}},
    Command{cmd::kImageCycling,    "Image cycling",          kRun,       None,        Always,      false, Plain,     "",             {}},
    Command{cmd::kRoiRender,       "ROI render",             kRun,       None,        Always,      false, Plain,     "",             {}},
    Command{cmd::kSpike,           "Spike drawing",          kRun,       ResultFirst, Picture,     false, Plain,     "",             {}},
    Command{cmd::kTest,            "Test",                   kRun,       None,        Always,      true,  Plain,     "",             kNoTestVideo},
    Command{cmd::kMemory15,        "15M",                    kMemory,    None,        Always,      true,  Memory,    "",             {}},
    Command{cmd::kMemory30,        "30M",                    kMemory,    None,        Always,      true,  Memory,    "",             {}},
    Command{cmd::kMemory45,        "45M",                    kMemory,    None,        Always,      true,  Memory,    "",             {}},
    Command{cmd::kMemory60,        "60M",                    kMemory,    None,        Always,      true,  Memory,    "",             {}},
    Command{cmd::kResetLayer,      "Reset layer",            kLayers,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kSetAsDefault,    "Set as default",         kLayers,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kLoadShapesFiles, "Files",                  kShapesFrom, Layer,      Always,      false, Plain,     "",             {}},
    Command{cmd::kLoadShapesPassage, "Passage",              kShapesFrom, LayerA,     Always,      false, Plain,     "",             {}},
    Command{cmd::kShowShapes,      "Show shapes",            kLayers,    ShapeLayer,  Picture,     false, Plain,     "",             {}},
    Command{cmd::kChangePassage,   "Change passage",         kLayers,    ShapeLayer,  Picture,     false, Plain,     "",             {}},
    Command{cmd::kSetAnimation,    "Set animation",          kLayers,    ShapeLayer,  Picture,     false, Plain,     "",             {}},
    Command{cmd::kLayerDisable,    "Disable",                kLayers,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kLayerEnable,     "Enable",                 kLayers,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kBackgroundColor, "Background color",       kLayers,    None,        Picture,     false, Plain,     "",             {}},
    Command{cmd::kSegmentDisable,  "Disable",                kSegments,  None,        Transformed, false, Plain,     "",             {}},
    Command{cmd::kSegmentEnable,   "Enable",                 kSegments,  None,        Transformed, false, Plain,     "",             {}},
    Command{cmd::kSegmentsDisableAll, "Disable all",         kSegments,  None,        Transformed, false, Plain,     "",             {}},
    Command{cmd::kSegmentsEnableAll, "Enable all",           kSegments,  None,        Transformed, false, Plain,     "",             {}},
    Command{cmd::kChangeColor,     "Change color",           kSegments,  None,        Transformed, false, Plain,     "",             {}},
    Command{cmd::kAllEnclosed,     "All enclosed selection", kSegments,  None,        Transformed, false, Toggle,    "",             {}},
    Command{cmd::kAbout,           "About ...",              kHelp,      None,        Always,      true,  Plain,     "Alt+/",        {}},
};
// clang-format on

constexpr std::array kControls = {
    Control{ctl::kUnit, ControlKind::Combo, "Unit", "pixel"},
    Control{ctl::kDpi, ControlKind::IntEdit, "DPI", ""},
    Control{ctl::kInt, ControlKind::IntEdit, "INT", "5"},
    Control{ctl::kBlu, ControlKind::IntEdit, "BLU", "1"},
    Control{ctl::kThr, ControlKind::IntEdit, "THR", "20"},
    Control{ctl::kGap, ControlKind::IntEdit, "GAP", "1"},
    Control{ctl::kWid, ControlKind::DoubleEdit, "Wid", ""},
    Control{ctl::kHgt, ControlKind::DoubleEdit, "Hgt", ""},
    Control{ctl::kMax, ControlKind::DoubleEdit, "Max", "0.02"},
    Control{ctl::kMin, ControlKind::DoubleEdit, "Min", "0.0005"},
    Control{ctl::kDil, ControlKind::IntEdit, "DIL", "0"},
    Control{ctl::kKMean, ControlKind::IntEdit, "K-Mn", "2"},
    Control{ctl::kTrans, ControlKind::IntEdit, "Trans", ""},
    Control{ctl::kSize, ControlKind::IntEdit, "Size", ""},
    Control{ctl::kBright, ControlKind::IntEdit, "Bright", ""},
    Control{ctl::kGlobalBrightness, ControlKind::IntEdit, "Global brightness", "0"},
    Control{ctl::kPalette, ControlKind::Combo, "Palette", ""},
    Control{ctl::kPalettePreview, ControlKind::Preview, "Palette preview", ""},
    Control{ctl::kRandom, ControlKind::Check, "Radom", ""},
    Control{ctl::kShuffle, ControlKind::Check, "Shuffle", ""},
    Control{ctl::kInvert, ControlKind::Check, "Invert", ""},
    Control{ctl::kConvert, ControlKind::Check, "Convert", ""},
    Control{ctl::kLayerList, ControlKind::List, "Layers", ""},
    Control{ctl::kShapeNumber, ControlKind::IntEdit, "Shape", ""},
    Control{ctl::kSelect, ControlKind::Button, "Select", ""},
};

// Controls that the busy state disables (and that stay disabled until the first picture is read).
bool busy_locked(int id) {
    return (id >= ctl::kWid && id <= ctl::kGap) || id == ctl::kUnit || id == ctl::kTrans ||
           (id >= ctl::kRandom && id <= ctl::kConvert) || id == ctl::kPalette || id == ctl::kSize ||
           id == ctl::kBright || id == ctl::kLayerList || id == ctl::kGlobalBrightness;
}

}  // namespace

std::span<const Command> command_table() {
    return kCommands;
}

const Command* find_command(int id) {
    auto it = std::find_if(kCommands.begin(), kCommands.end(), [id](const Command& c) { return c.id == id; });
    return it == kCommands.end() ? nullptr : &*it;
}

std::string_view need_message(Need need) {
    switch (need) {
        case Need::Result:
            return "Please render the shape first!";
        case Need::ResultFirst:
            return "Please render first";
        case Need::Layer:
            return "Please select layer!";
        case Need::LayerA:
            return "Please select a layer";
        case Need::None:
        case Need::ShapeLayer:
            break;
    }
    return {};
}

bool command_enabled(const Command& c, const UiState& s) {
    if (!c.unavailable.empty()) return false;
    if (s.busy) return c.while_busy;
    if (c.while_busy) return true;
    switch (c.gate) {
        case Gate::Always:
            break;
        case Gate::Picture:
            if (!s.picture) return false;
            break;
        case Gate::Transformed:
            if (!s.picture || !s.transformed) return false;
            break;
    }
    // A motion pack is no picture: nothing to filter or to transform.
    if (s.motion_pack && (c.check == Check::Filter || c.check == Check::Transform)) return false;
    // The pairs whose greying follows the selection.
    switch (c.id) {
        case cmd::kLayerDisable:
            return s.selected_layer >= 0 && s.layer_shown;
        case cmd::kLayerEnable:
            return s.selected_layer >= 0 && !s.layer_shown;
        case cmd::kChangePassage:
            return s.selected_layer >= 1 && s.layer_passage;
        case cmd::kSegmentDisable:
            return s.segment_enabled == 1;
        case cmd::kSegmentEnable:
            return s.segment_enabled == 0;
        default:
            return true;
    }
}

std::optional<std::string_view> command_refusal(const Command& c, const UiState& s) {
    switch (c.need) {
        case Need::None:
            return std::nullopt;
        case Need::Result:
        case Need::ResultFirst:
            if (s.rendered || s.motion_pack) return std::nullopt;
            return need_message(c.need);
        case Need::Layer:
        case Need::LayerA:
        case Need::ShapeLayer:
            if (s.selected_layer >= 1) return std::nullopt;
            return need_message(c.need);
    }
    return std::nullopt;
}

std::span<const Control> control_table() {
    return kControls;
}

const Control* find_control(int id) {
    auto it = std::find_if(kControls.begin(), kControls.end(), [id](const Control& c) { return c.id == id; });
    return it == kControls.end() ? nullptr : &*it;
}

bool control_enabled(int id, const UiState& s) {
    if (busy_locked(id) && (s.busy || !s.picture)) return false;
    const bool colour_option = (id >= ctl::kRandom && id <= ctl::kConvert) || id == ctl::kPalette;
    if (colour_option && s.selected_layer < 1) return false;
    return true;
}

}  // namespace velq
