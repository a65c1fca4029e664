// The Filter command: rebuilds the working pictures from the source under the memory limit, then
// runs one colour filter on the filtered picture. Runs on the worker.
#pragma once

#include <cstdint>

#include "app/document.h"
#include "filters/filter.h"
#include "image/working_pictures.h"

namespace velq {

// Where a random filter's seed comes from: the one in the settings when there is one (remaking a
// result), or a new one from the Document's seed source (the Filter command).
enum class FilterSeed { Replay, Draw };

// Returns 0, or -1 with the system's message; on failure the Document keeps the pictures it had.
int do_filter(Document& doc, Host& host, FilterKind kind, std::int64_t memory_limit,
              FilterSeed seed_from = FilterSeed::Replay);

// The filter buffer and working pictures built from the Document's source, not yet installed.
struct RebuiltPictures {
    UBUFFER filter_buffer;
    WorkingPictures pictures;
    Document::WorkingKey key;  // what they were built with
};
// Pictures equal to what the Document's source gives under its settings and `memory_limit`: copies
// of the installed ones when those were built the same way, else built anew.
int build_working_pictures(const Document& doc, Host& host, std::int64_t memory_limit, RebuiltPictures& out);
// Installs rebuilt pictures; the output size becomes the working size.
void install_working_pictures(Document& doc, RebuiltPictures&& made);

}  // namespace velq
