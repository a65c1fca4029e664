// A Document holding a picture, filtered once (Normal) under a fixed seed, as after Open: the
// starting point of the transform and filter tests.
#pragma once

#include <utility>

#include <gtest/gtest.h>

#include "app/filter_driver.h"
#include "support/recording_host.h"

namespace velq::test {

template <class HostType = RecordingHost>
struct Opened {
    HostType host;
    Document doc{host};
    explicit Opened(UBUFFER source, int interpolation = 2) {
        doc.source = std::move(source), doc.settings.interpolation = interpolation;
        doc.settings.max_size = 0.05;
        doc.seeds.fix(3);
        EXPECT_EQ(do_filter(doc, host, FilterKind::Normal, doc.settings.memory_limit), 0);
        host.clear();
    }
};

}  // namespace velq::test
