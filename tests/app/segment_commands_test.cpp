#include <gtest/gtest.h>

#include <tuple>

#include "app/segment_commands.h"
#include "support/recording_host.h"

namespace velq {
namespace {

// Records status lines and outline refreshes besides what RecordingHost keeps.
class MenuHost : public test::RecordingHost {
public:
    void status(int line, std::string_view text) override { statuses.emplace_back(text); }
    void refresh(Refresh what) override { outlines += what == Refresh::Outlines; }
    std::vector<std::string> statuses;
    int outlines = 0;
};

// Four Segments: 1 lies in 0, 2 in 1; 3 stands alone. The label map is one row: 1 2 3 4.
struct Fixture {
    MenuHost host;
    Document doc{host};
    ViewRect rect{0, 0, 4, 1};
    Fixture() {
        doc.segments.resize(4);
        doc.segments[0].child_segments = {1};
        doc.segments[1].child_segments = {2};
        for (Segment& s : doc.segments) s.circles.resize(2);
        doc.label_map.allocate(4, 1);
        for (int x = 0; x < 4; ++x) doc.label_map.at(x, 0) = std::uint32_t(x + 1);
        doc.transformed = true;
    }
};

TEST(SegmentMenu, SelectionIsTheSelectedSegmentPlusEnclosedOnesWhenAsked) {
    struct Case {
        int selected;
        bool all_enclosed;
        std::vector<std::size_t> want;
    } cases[] = {
        {0, false, {0}}, {0, true, {0, 1, 2}}, {1, true, {1, 2}}, {3, true, {3}},
        {-1, true, {}},  {4, false, {}},       {2, true, {2}},
    };
    for (const Case& c : cases) {
        Fixture f;
        f.doc.selected_segment = c.selected;
        f.doc.toggles.all_enclosed = c.all_enclosed;
        EXPECT_EQ(selected_segments(f.doc), c.want) << c.selected << " " << c.all_enclosed;
    }
}

TEST(SegmentMenu, DisableEnableActOnTheSelectionAndSwapTheMenuItems) {
    Fixture f;
    EXPECT_FALSE(set_selected_segments_enabled(f.doc, f.host, false));  // nothing selected
    EXPECT_FALSE(segment_menu_state(f.doc).disable);
    f.doc.selected_segment = 0;
    EXPECT_TRUE(segment_menu_state(f.doc).disable && !segment_menu_state(f.doc).enable);
    ASSERT_TRUE(set_selected_segments_enabled(f.doc, f.host, false));
    EXPECT_FALSE(f.doc.segments[0].enabled);
    EXPECT_TRUE(f.doc.segments[1].enabled);
    EXPECT_TRUE(segment_menu_state(f.doc).enable && !segment_menu_state(f.doc).disable);
    f.doc.toggles.all_enclosed = true;
    ASSERT_TRUE(set_selected_segments_enabled(f.doc, f.host, false));
    EXPECT_FALSE(f.doc.segments[2].enabled);
    EXPECT_TRUE(f.doc.segments[3].enabled);
    set_all_segments_enabled(f.doc, f.host, true);
    set_all_segments_enabled(f.doc, f.host, false);
    for (const Segment& s : f.doc.segments) EXPECT_FALSE(s.enabled);
    EXPECT_EQ(f.host.outlines, 4);
}

TEST(SegmentMenu, ChangeColorReachesTheSegmentAndEveryCircle) {
    Fixture f;
    std::uint32_t initial = 0;
    EXPECT_FALSE(segment_chooser_colour(f.doc, initial));
    f.doc.selected_segment = 3;
    f.doc.segments[3].colour = {10, 20, 30, 255, 0, true};
    f.doc.segments[3].display = {200, 100, 50, 255, 0, true};
    ASSERT_TRUE(segment_chooser_colour(f.doc, initial));
    EXPECT_EQ(initial, pack_colorref(10, 20, 30));  // before any render: its own colour
    f.doc.rendered = true;
    ASSERT_TRUE(segment_chooser_colour(f.doc, initial));
    EXPECT_EQ(initial, pack_colorref(200, 100, 50));
    ASSERT_TRUE(change_segment_colour(f.doc, f.host, pack_colorref(1, 2, 3)));
    const Segment& s = f.doc.segments[3];
    EXPECT_EQ(s.colour, (ColourRecord{1, 2, 3, 255, 0, true}));
    for (const Circle& c : s.circles)
        EXPECT_EQ(std::tuple(c.own.c0, c.own.c1, c.own.c2), std::tuple(1, 2, 3));
    EXPECT_EQ(f.doc.segments[2].colour.c0, 0);  // others untouched
    EXPECT_EQ(f.host.statuses, std::vector<std::string>{"Color Picking Succeed"});
}

TEST(SegmentPicking, DoubleClickSelectsAndHoverNeedsATransform) {
    Fixture f;
    EXPECT_TRUE(double_click_segment(f.doc, f.host, f.rect, 2.5, 0.5));
    EXPECT_EQ(std::pair(f.doc.selected_segment, f.doc.selected_outline), std::pair(2, 2));
    EXPECT_FALSE(double_click_segment(f.doc, f.host, f.rect, 9, 0.5));  // outside: nothing changes
    EXPECT_EQ(f.doc.selected_segment, 2);
    f.doc.transformed = false;
    EXPECT_FALSE(hover_segment(f.doc, f.host, f.rect, 0.5, 0.5));
    EXPECT_EQ(f.doc.hovered_outline, -1);
}

}  // namespace
}  // namespace velq
