#include "app/commands.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace velq {
namespace {

TEST(CommandTable, IdsAreUniqueAndEveryDescribedCommandIsPresent) {
    std::set<int> ids;
    for (const Command& c : command_table()) {
        EXPECT_TRUE(ids.insert(c.id).second) << "duplicate " << c.id;
        EXPECT_FALSE(c.text.empty()) << c.id;
        EXPECT_FALSE(c.menu.empty()) << c.id;
        EXPECT_EQ(find_command(c.id), &c);
    }
    const std::set<int> described = {
        32771, 32879, 32877, 32878, 32772, 32825, 32826, 32827, 32828, 32829, 32830, 32872, 32866, 32868,
        32873, 32874, 32860, 105,   32869, 32870, 32871, 32831, 32832, 32833, 32834, 32835, 32795, 32796,
        32837, 32798, 32838, 32839, 32801, 32802, 32803, 32804, 32840, 32841, 32842, 32867, 32843, 32845,
        32844, 32847, 32846, 32862, 32863, 32864, 32865, 32875, 32848, 32808, 32849, 32850, 32810, 32811,
        32851, 32852, 32853, 32854, 32855, 32856, 32857, 32858, 32859, 32836, 104};
    EXPECT_EQ(ids, described);
    EXPECT_EQ(find_command(12345), nullptr);
}

TEST(CommandTable, TextsAndMessagesAreTheSystemsOwn) {
    struct Case {
        int id;
        std::string_view text;
        std::string_view message;  // shown when nothing is rendered and layer 0 is selected
    };
    const Case cases[] = {
        {cmd::kOpen, "Open", ""},
        {cmd::kSave, "Save", "Please render the shape first!"},
        {cmd::kVideo1920, "1920 x 1080", "Please render the shape first!"},
        {cmd::kCycling, "Cycling", "Please render first"},
        {cmd::kExportGif, "Export to a GIFs", "Please render the shape first!"},
        {cmd::kLoadShapesFiles, "Files", "Please select layer!"},
        {cmd::kLoadShapesPassage, "Passage", "Please select a layer"},
        {cmd::kShowShapes, "Show shapes", ""},
        {cmd::kFilterKMean, "K-mean", ""},
        {cmd::kAllEnclosed, "All enclosed selection", ""},
        {cmd::kAbout, "About ...", ""},
    };
    UiState s;
    s.picture = true;
    s.selected_layer = 0;
    for (const Case& c : cases) {
        const Command* command = find_command(c.id);
        ASSERT_NE(command, nullptr) << c.id;
        EXPECT_EQ(command->text, c.text);
        auto refusal = command_refusal(*command, s);
        if (command->need == Need::None) {
            EXPECT_FALSE(refusal) << c.id;
        } else {
            ASSERT_TRUE(refusal) << c.id;
            EXPECT_EQ(*refusal, c.message) << c.id;
        }
    }
}

TEST(CommandTable, NeedsAreMetByARenderOrAMotionPackOrALayer) {
    const Command& save = *find_command(cmd::kSave);
    const Command& files = *find_command(cmd::kLoadShapesFiles);
    struct Case {
        bool rendered, motion_pack;
        int layer;
        bool save_acts, files_acts;
    };
    const Case cases[] = {
        {false, false, 1, false, true}, {true, false, 1, true, true},   {false, true, 1, true, true},
        {true, false, 0, true, false},  {true, false, -1, true, false},
    };
    for (const Case& c : cases) {
        UiState s;
        s.picture = true;
        s.rendered = c.rendered;
        s.motion_pack = c.motion_pack;
        s.selected_layer = c.layer;
        EXPECT_EQ(!command_refusal(save, s), c.save_acts) << c.rendered << c.motion_pack << c.layer;
        EXPECT_EQ(!command_refusal(files, s), c.files_acts) << c.rendered << c.motion_pack << c.layer;
    }
}

// A command that works, whatever is still being built elsewhere.
Command working(const Command& c) {
    Command w = c;
    w.unavailable = {};
    return w;
}

TEST(BusyModel, StartUpOffersOnlyTheStartUpCommandsAndTheBusyExemptOnes) {
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
    UiState start;
    start.picture = false;
    UiState busy;
    busy.busy = true;
    busy.picture = true;
    for (const Command& c : command_table()) {
        const Command w = working(c);
        EXPECT_EQ(command_enabled(w, start), at_start.count(c.id) + while_busy.count(c.id) > 0) << c.id;
        EXPECT_EQ(command_enabled(w, busy), while_busy.count(c.id) > 0) << c.id;
    }
}

TEST(BusyModel, AfterARenderEverythingButTheSelectionPairsIsOffered) {
    UiState s;
    s.picture = s.transformed = s.rendered = true;
    s.selected_layer = 3;
    s.layer_shown = true;
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

TEST(BusyModel, UnavailableCommandsAreAlwaysGreyedAndSaySo) {
    UiState s;
    s.picture = s.transformed = s.rendered = true;
    int unavailable = 0;
    for (const Command& c : command_table()) {
        if (c.unavailable.empty()) continue;
        ++unavailable;
        EXPECT_FALSE(command_enabled(c, s)) << c.id;
        EXPECT_EQ(c.unavailable.substr(0, 18), "Not available yet:") << c.id;
    }
    // Commands for designs that do not exist yet stay greyed.
    for (int id : {cmd::kFilterPrism, cmd::kFilterBrokenGlass, cmd::kTransformAlphabet, cmd::kLoadMotionPack,
                   cmd::kLoadShapesPassage, cmd::kChangePassage, cmd::kFramePsd, cmd::kImageCycling,
                   cmd::kCycling, cmd::kRoiRender, cmd::kSpike})
        EXPECT_FALSE(find_command(id)->unavailable.empty()) << id;
    EXPECT_GT(unavailable, 0);
}

TEST(ControlModel, BusyAndLayerZeroLockTheDescribedControls) {
    const std::set<int> locked_while_busy = {1002, 1003, 1004, 1005, 1006, 1007, 1008, 1009,
                                             1010, 1011, 1012, 1013, 1014, 1015, 1016, 1017,
                                             1018, 1020, 1021, 1022, 1024, 1084};
    const std::set<int> colour_options = {1015, 1016, 1017, 1018, 1020};
    UiState idle;
    idle.picture = true;
    UiState busy = idle;
    busy.busy = true;
    UiState start;
    UiState layer0 = idle;
    layer0.selected_layer = 0;
    for (const Control& c : control_table()) {
        EXPECT_TRUE(control_enabled(c.id, idle)) << c.id;
        EXPECT_EQ(control_enabled(c.id, busy), !locked_while_busy.count(c.id)) << c.id;
        EXPECT_EQ(control_enabled(c.id, start), !locked_while_busy.count(c.id)) << c.id;
        EXPECT_EQ(control_enabled(c.id, layer0), !colour_options.count(c.id)) << c.id;
    }
}

TEST(ControlModel, LabelsAndDefaults) {
    struct Case {
        int id;
        std::string_view label, text;
    };
    const Case cases[] = {{1013, "Unit", "pixel"}, {1009, "INT", "5"},
                          {1010, "BLU", "1"},      {1011, "THR", "20"},
                          {1012, "GAP", "1"},      {1004, "Max", "0.02"},
                          {1005, "Min", "0.0005"}, {1006, "DIL", "0"},
                          {1007, "K-Mn", "2"},     {1084, "Global brightness", "0"},
                          {1015, "Radom", ""},     {1026, "Select", ""}};
    for (const Case& c : cases) {
        const Control* control = find_control(c.id);
        ASSERT_NE(control, nullptr) << c.id;
        EXPECT_EQ(control->label, c.label);
        EXPECT_EQ(control->default_text, c.text);
    }
}

}  // namespace
}  // namespace velq
