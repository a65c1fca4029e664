#include "app/commands.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace velq {
namespace {

// A command that works, whatever is still being built elsewhere.
Command working(const Command& c) {
    Command w = c;
    w.unavailable = {};
    return w;
}

TEST(BusyModel, StartUpAndBusyOfferOnlyTheirCommands) {
    const std::set<int> at_start = {cmd::kOpen,
                                    cmd::kLoadLayers,
                                    cmd::kExit,
                                    cmd::kRoiRender,
                                    cmd::kImageCycling,
                                    cmd::kLoadShapesFiles,
                                    cmd::kLoadShapesPassage};
    const std::set<int> while_busy = {
        cmd::kSkip,      cmd::kStop,      cmd::kMemory15,     cmd::kMemory30,       cmd::kMemory45,
        cmd::kMemory60,  cmd::kResetView, cmd::kViewOriginal, cmd::kViewEdges,      cmd::kViewFiltered,
        cmd::kViewFinal, cmd::kTest,      cmd::kLoadLogo,     cmd::kLoadMotionPack, cmd::kAbout};
    UiState start, busy;
    busy.busy = busy.picture = true;
    for (const Command& c : command_table()) {
        const Command w = working(c);
        EXPECT_EQ(command_enabled(w, start), at_start.count(c.id) + while_busy.count(c.id) > 0) << c.id;
        EXPECT_EQ(command_enabled(w, busy), while_busy.count(c.id) > 0) << c.id;
        // Commands still being built are always greyed.
        EXPECT_TRUE(c.unavailable.empty() || !command_enabled(c, UiState{false, true, true, true})) << c.id;
    }
}

TEST(BusyModel, AfterARenderEverythingButTheSelectionPairsIsOffered) {
    UiState s;
    s.picture = s.transformed = s.rendered = true, s.selected_layer = 3, s.layer_shown = true;
    s.segment_enabled = 1;
    for (const Command& c : command_table()) {
        const bool expected =
            c.id != cmd::kLayerEnable && c.id != cmd::kSegmentEnable && c.id != cmd::kChangePassage;
        EXPECT_EQ(command_enabled(working(c), s), expected) << c.id;
    }
    // Render waits for a transform; the pairs swap with the selection's flags.
    s.transformed = false;
    EXPECT_FALSE(command_enabled(working(*find_command(cmd::kRender)), s));
    s.layer_shown = false;
    s.segment_enabled = 0;
    EXPECT_TRUE(command_enabled(working(*find_command(cmd::kLayerEnable)), s));
    EXPECT_FALSE(command_enabled(working(*find_command(cmd::kLayerDisable)), s));
    EXPECT_FALSE(command_enabled(working(*find_command(cmd::kSegmentDisable)), s));
    s.segment_enabled = -1;
    EXPECT_FALSE(command_enabled(working(*find_command(cmd::kSegmentEnable)), s));
}

TEST(ControlModel, BusyAndLayerZeroLockTheirControls) {
    const std::set<int> colour_options = {ctl::kRandom, ctl::kShuffle, ctl::kInvert, ctl::kConvert,
                                          ctl::kPalette};
    UiState idle;
    idle.picture = true;
    UiState busy = idle;
    busy.busy = true;
    UiState layer0 = idle;
    layer0.selected_layer = 0;
    for (const Control& c : control_table()) {
        EXPECT_TRUE(control_enabled(c.id, idle)) << c.id;
        // Until the first picture is read the same controls are locked as while busy.
        EXPECT_EQ(control_enabled(c.id, busy), control_enabled(c.id, UiState{})) << c.id;
        EXPECT_EQ(control_enabled(c.id, layer0), !colour_options.count(c.id)) << c.id;
    }
    // Busy locks the settings, never what only shows the work.
    for (const int id : {ctl::kWid, ctl::kGap, ctl::kPalette, ctl::kLayerList})
        EXPECT_FALSE(control_enabled(id, busy)) << id;
    for (const int id : {ctl::kProgress, ctl::kPalettePreview, ctl::kShapeNumber, ctl::kSelect})
        EXPECT_TRUE(control_enabled(id, busy)) << id;
}

}  // namespace
}  // namespace velq
