// What each working command does, grouped by menu. Every group file lists its commands next to their
// handlers; the command menu binds them to the table's entries by number.
#pragma once

#include <span>

namespace velq::gui {

class MainWindow;

// A command's handler; `id` lets one handler serve a family (filters, video sizes, view toggles).
using CommandAct = void (*)(MainWindow& window, int id);

struct CommandBinding {
    int id;
    CommandAct act;
};

std::span<const CommandBinding> file_commands();     // File and Edit
std::span<const CommandBinding> export_commands();   // File/Export video, Social media, GIF
std::span<const CommandBinding> run_commands();      // Filter, Transform, Run, Memory
std::span<const CommandBinding> view_commands();     // View and Help
std::span<const CommandBinding> layer_commands();    // Layers
std::span<const CommandBinding> segment_commands();  // Segments
std::span<const CommandBinding> batch_commands();    // Image cycling, Cycling, ROI render

}  // namespace velq::gui
