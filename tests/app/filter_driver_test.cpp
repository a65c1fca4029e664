#include <gtest/gtest.h>

#include <functional>

#include "app/filter_driver.h"
#include "app/open_picture.h"
#include "opened_document.h"
#include "support/pictures.h"

namespace velq {
namespace {

// Filtered once, transformed and rendered.
struct Opened : test::Opened<> {
    Opened() : test::Opened<>(test::noise_picture(30, 20, 4)) { doc.transformed = doc.rendered = true; }
};

TEST(FilterDriver, ARefusedFilterKeepsThePreviousResult) {
    Opened o;
    const UBUFFER before = o.doc.filtered.clone();
    o.doc.settings.k_mean = 1;
    EXPECT_EQ(do_filter(o.doc, o.host, FilterKind::KMean, o.doc.settings.memory_limit), -1);
    EXPECT_EQ(o.host.messages(), std::vector<std::string>{"Invalid K-Mean value. It must be larger than 1"});
    EXPECT_TRUE(test::same_bytes(o.doc.filtered, before));
    EXPECT_EQ(o.doc.settings.filter_kind, 0);
    EXPECT_TRUE(o.doc.transformed && o.doc.rendered) << "a refused filter clears nothing";
}

// Every random kind keeps the seed it drew, so that a reopened result draws the same pattern.
TEST(FilterDriver, EachFilterStartsFromFreshlyBuiltPicturesAndKeepsItsSeed) {
    const std::pair<FilterKind, bool> kinds[] = {
        {FilterKind::HalfShuffle, true},      {FilterKind::TripleShuffle, true}, {FilterKind::Matrix, true},
        {FilterKind::InverseContrast, false}, {FilterKind::ContrastUp, false},   {FilterKind::Prism, true},
        {FilterKind::BrokenGlass, true},      {FilterKind::KMean, false}};
    for (const auto& [kind, keeps_seed] : kinds) {
        SCOPED_TRACE(filter_menu_text(kind));
        Opened o;
        const UBUFFER plain = o.doc.filtered.clone();
        ASSERT_EQ(do_filter(o.doc, o.host, kind, o.doc.settings.memory_limit), 0);
        const UBUFFER first = o.doc.filtered.clone();
        EXPECT_FALSE(test::same_bytes(first, plain));
        EXPECT_EQ(o.doc.settings.filter_kind, int(kind));
        EXPECT_EQ(o.doc.settings.filter_seed.has_value(), keeps_seed);
        EXPECT_FALSE(o.doc.transformed || o.doc.rendered);
        // Running it again filters the rebuilt picture, not the last result: the same seed gives the
        // same bytes.
        ASSERT_EQ(do_filter(o.doc, o.host, kind, o.doc.settings.memory_limit), 0);
        EXPECT_TRUE(test::same_bytes(o.doc.filtered, first));
        EXPECT_TRUE(o.host.messages().empty());
    }
}

// A filter takes the last build's pictures as they are only when they are what a fresh build gives.
TEST(FilterDriver, WorkingPicturesAreThoseOfAFreshBuildAfterAnyChange) {
    const std::pair<const char*, std::function<void(Document&, Host&)>> changes[] = {
        {"nothing", [](Document&, Host&) {}},
        {"INT", [](Document& d, Host&) { d.settings.interpolation = 3; }},
        {"BLU", [](Document& d, Host&) { d.settings.blur = 2; }},
        {"source", [](Document& d, Host& h) {
             EXPECT_EQ(install_picture(d, h, {PictureError::None, test::noise_picture(30, 20, 9), 96}, "b"),
                       0);
         }}};
    for (const auto& [what, change] : changes) {
        SCOPED_TRACE(what);
        Opened o;
        change(o.doc, o.host);
        ASSERT_EQ(do_filter(o.doc, o.host, FilterKind::Normal, o.doc.settings.memory_limit), 0);
        // Built from scratch: a Document that never built any.
        Document blank(o.host);
        blank.source = o.doc.source.clone();
        blank.settings = o.doc.settings;
        RebuiltPictures fresh;
        ASSERT_EQ(build_working_pictures(blank, o.host, o.doc.settings.memory_limit, fresh), 0);
        EXPECT_TRUE(test::same_bytes(o.doc.filter_buffer, fresh.filter_buffer));
        EXPECT_TRUE(test::same_bytes(o.doc.working, fresh.pictures.working));
        EXPECT_TRUE(test::same_bytes(o.doc.filtered, fresh.pictures.filtered));
    }
}

}  // namespace
}  // namespace velq
