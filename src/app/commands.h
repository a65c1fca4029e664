// The command table and the controls of the main window, as data: every menu command with its text,
// menu, the state it needs and its message, and which commands and controls the busy state leaves
// usable. The window builds its menus and its settings column from these tables; tests walk them.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace velq {

// Command numbers; the values are those the settings column and the tests refer to.
namespace cmd {
inline constexpr int kAbout = 104, kExit = 105;
inline constexpr int kOpen = 32771, kSave = 32772;
inline constexpr int kSetAsDefault = 32808, kShowShapes = 32810, kChangePassage = 32811;
inline constexpr int kFilterNormal = 32795, kFilterHalfShuffle = 32796, kFilterMatrix = 32798;
inline constexpr int kFilterPrism = 32801, kFilterBrokenGlass = 32802, kFilterKMean = 32803;
inline constexpr int kFilterTripleShuffle = 32837, kFilterInverseContrast = 32838, kFilterContrastUp = 32839;
inline constexpr int kTransformNormal = 32804, kTransformVectorize = 32840, kTransformAlphabet = 32841;
inline constexpr int kVideo640 = 32825, kVideo960 = 32826, kVideo1280 = 32827, kVideo1920 = 32828;
inline constexpr int kVideo2560 = 32829, kVideo3840 = 32830;
inline constexpr int kResetView = 32831, kViewOriginal = 32832, kViewEdges = 32833, kViewFiltered = 32834;
inline constexpr int kViewFinal = 32835, kAllEnclosed = 32836;
inline constexpr int kRender = 32842, kImageCycling = 32843, kSkip = 32844, kRoiRender = 32845;
inline constexpr int kSpike = 32846, kStop = 32847, kResetLayer = 32848, kLoadShapesFiles = 32849;
inline constexpr int kLoadShapesPassage = 32850, kSetAnimation = 32851, kLayerDisable = 32852;
inline constexpr int kLayerEnable = 32853, kBackgroundColor = 32854, kSegmentDisable = 32855;
inline constexpr int kSegmentEnable = 32856, kSegmentsDisableAll = 32857, kSegmentsEnableAll = 32858;
inline constexpr int kChangeColor = 32859, kExportGif = 32860;
inline constexpr int kMemory15 = 32862, kMemory30 = 32863, kMemory45 = 32864, kMemory60 = 32865;
inline constexpr int kCycling = 32866, kRenderFrame = 32867, kFramePsd = 32868, kCopyMetadata = 32869;
inline constexpr int kPasteMetadata = 32870, kClearClipboard = 32871, kCustomize = 32872;
inline constexpr int kSocialFit = 32873, kSocialStretch = 32874, kTest = 32875, kLoadLayers = 32877;
inline constexpr int kLoadLogo = 32878, kLoadMotionPack = 32879;
}  // namespace cmd

// What a command needs before it acts; when it is missing the command shows its message instead.
enum class Need {
    None,
    Result,       // a render (or a motion pack): "Please render the shape first!"
    ResultFirst,  // the same with "Please render first"
    Layer,        // layer 1 or higher selected: "Please select layer!"
    LayerA,       // the same with "Please select a layer"
    ShapeLayer,   // layer 1 or higher; silently nothing otherwise
};

// When a command is offered at all (greyed otherwise), besides the busy state.
enum class Gate {
    Always,       // from start-up on
    Picture,      // once a picture has been read
    Transformed,  // once the picture has been transformed
};

// How a check mark behaves.
enum class Check { Plain, Toggle, Filter, Transform, Memory };

struct Command {
    int id;
    std::string_view text;  // menu text, exactly as shown
    std::string_view menu;  // menu path, levels separated by '/'
    Need need;
    Gate gate;
    bool while_busy;  // stays usable while the worker runs
    Check check;
    std::string_view shortcut;     // portable key sequence text, empty for none
    std::string_view unavailable;  // empty when the command works; else why it is greyed (tooltip)
};

// Every command in menu order.
std::span<const Command> command_table();
const Command* find_command(int id);
// The message shown instead of acting when the need is not met; empty for Need::None and ShapeLayer.
std::string_view need_message(Need need);

// What decides which commands and controls are usable.
struct UiState {
    bool busy = false;
    bool picture = false;  // a picture has been read since start-up
    bool transformed = false;
    bool rendered = false;
    bool motion_pack = false;
    int selected_layer = 1;
    bool layer_shown = true;     // the selected layer's shown flag
    bool layer_passage = false;  // the selected layer is in passage mode
    int segment_enabled = -1;    // the selected segment's enabled flag; -1 when none is selected
};

// Whether the command's menu item is enabled (not greyed).
bool command_enabled(const Command& c, const UiState& s);
// Whether the command may act now; otherwise the message it shows instead (may be empty: nothing).
std::optional<std::string_view> command_refusal(const Command& c, const UiState& s);

// The controls of the settings column, by number.
namespace ctl {
inline constexpr int kProgress = 1001, kWid = 1002, kHgt = 1003, kMax = 1004, kMin = 1005, kDil = 1006;
inline constexpr int kKMean = 1007, kDpi = 1008, kInt = 1009, kBlu = 1010, kThr = 1011, kGap = 1012;
inline constexpr int kUnit = 1013, kTrans = 1014, kRandom = 1015, kShuffle = 1016, kInvert = 1017;
inline constexpr int kConvert = 1018, kPalettePreview = 1019, kPalette = 1020, kSize = 1021;
inline constexpr int kBright = 1022, kLayerList = 1024, kShapeNumber = 1025, kSelect = 1026;
inline constexpr int kPicture = 1042, kStatus1 = 1059, kStatus2 = 1082, kGlobalBrightness = 1084;
}  // namespace ctl

enum class ControlKind { IntEdit, DoubleEdit, Combo, Check, List, Button, Preview };

struct Control {
    int id;
    ControlKind kind;
    std::string_view label;         // the label beside it, or the check box / button text
    std::string_view default_text;  // the text written at start-up; empty when set from elsewhere
};

// The settings column in layout order, top to bottom.
std::span<const Control> control_table();
const Control* find_control(int id);

// Whether a control of the settings column takes input now.
bool control_enabled(int id, const UiState& s);

// The items of the Unit combobox, in index order.
inline constexpr std::string_view kUnitNames[4] = {"pixel", "inch", "cm", "meter"};

}  // namespace velq
