// The main window: the picture control with its progress bar and status lines on the left, the
// settings column on the right, the menus built from the command table. It owns the Document and the
// single worker; every long command runs on the worker, and the window follows it through the
// host's queued signals.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

#include <QMainWindow>
#include <QPointF>

#include "app/commands.h"
#include "app/document.h"
#include "app/logo_choice.h"
#include "app/view.h"
#include "app/worker.h"
#include "gui/presenter.h"
#include "gui/window_host.h"

class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;

namespace velq::gui {

class PictureView;
class SleepInhibitor;

// Object name of a control of the settings column: "ctl" and its number ("ctl1011" is THR).
QString control_name(int id);
// Object name of a command's menu action: "cmd" and its number ("cmd32771" is Open).
QString action_name(int id);

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // Without a presenter the real dialogs are used.
    explicit MainWindow(std::unique_ptr<Presenter> presenter = nullptr, QWidget* parent = nullptr);
    ~MainWindow() override;

    Document& document() { return doc_; }
    WindowHost& host() { return host_; }
    Presenter& presenter() { return *presenter_; }
    PictureView& picture_view() { return *view_; }
    QAction* action(int id) const;
    template <class T>
    T* control(int id) const {
        return findChild<T*>(control_name(id));
    }

    // Chooses a command as the menu would: nothing when it is greyed, its message when its need is
    // not met, otherwise its action.
    void trigger(int id);
    // Whether the command has an action in this window (greyed commands have none).
    bool handles(int id) const { return handlers_.count(id) != 0; }
    bool busy() const { return ui_.busy; }
    const UiState& ui_state() const { return ui_; }

    // Stops the running operation and waits for it (quit, tests).
    void stop_and_join();
    // Runs a long operation on the worker inside the busy state; the window follows the Document
    // again when the worker reports its end.
    // `then` runs on the window's thread once the job has ended.
    void start_job(std::function<void()> job, std::function<void()> then = {});
    // Opens a picture as Open does after its file chooser (command line, drop).
    void open_path(const QString& path);
    // Brings every control, mark and the view in line with the Document (after a job, or after the
    // Document was changed from outside the window).
    void document_changed();

protected:
    void closeEvent(QCloseEvent* e) override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dropEvent(QDropEvent* e) override;

private:
    // Construction.
    void build_menus();
    QWidget* build_settings_column();
    void connect_host();
    void register_handlers();

    // The busy state and everything that follows the Document's state.
    void set_busy(bool on);
    void job_finished();
    void update_ui();
    void update_check_marks();

    // The view.
    void redraw();  // compose the view picture and show it
    void show_current_picture();
    void rebuild_overlay();
    void reset_view();

    // Settings fields.
    void read_settings_from_fields();
    void write_fields_from_settings();
    void write_size_fields();
    QString field_text(int id) const;
    void set_field_text(int id, const QString& text);

    // Layer list and the controls that follow the selected layer.
    void refresh_layer_list();
    void refresh_layer_texts();  // list lines only, the fields stay as typed
    void show_segment_details(int segment);
    void refresh_layer_controls();
    void draw_palette_preview();
    Layer* selected_layer();

    // Control notifications.
    void on_wid_edited();
    void on_hgt_edited();
    void on_dpi_edited();
    void on_unit_changed(int index);
    void on_trans_edited();
    void on_size_edited();
    void on_bright_edited();
    void on_palette_changed(int index);
    void on_layer_selected(int row);
    void on_layer_double_clicked();
    void on_check_box_clicked();
    void on_select_clicked();
    void on_hovered_at(QPointF pos);
    void on_double_clicked_at(QPointF pos);
    void on_right_clicked();
    void on_refresh(int what);
    void update_outline_marks();

    // Commands that act on the window thread.
    void cmd_exit();
    void cmd_about();
    void cmd_reset_view();
    void cmd_toggle_view(int id);
    void cmd_memory(int id);
    void cmd_stop();
    void cmd_skip();
    void cmd_clear_clipboard();
    void cmd_reset_layer();
    void cmd_set_as_default();
    void cmd_layer_shown(bool shown);
    void cmd_background_color();
    void cmd_show_shapes();
    void cmd_filter(int kind);
    void cmd_open();
    void cmd_transform(int mode);
    void cmd_paste_metadata();
    void cmd_save();
    void cmd_copy_metadata();
    void cmd_segments_enabled(bool enabled);
    void cmd_all_segments_enabled(bool enabled);
    void cmd_change_color();
    void cmd_all_enclosed();
    void cmd_render();
    void cmd_render_frame();
    void cmd_video(int width, int height);
    void cmd_customize();
    void cmd_export_gif();
    void cmd_social(int fit);
    void cmd_load_logo();
    void cmd_load_shapes();
    void cmd_set_animation();
    void cmd_load_layers();
    void export_video_to(int width, int height, bool gif);

    QString last_folder() const;
    void remember_folder(const QString& path);

    std::unique_ptr<Presenter> presenter_;
    WindowHost host_;
    Document doc_;
    Worker worker_;
    SleepInhibitor* inhibitor_ = nullptr;
    UiState ui_;

    PictureView* view_ = nullptr;
    QProgressBar* progress_ = nullptr;
    QLabel* status1_ = nullptr;
    QLabel* status2_ = nullptr;
    QLabel* palette_preview_ = nullptr;
    QListWidget* layer_list_ = nullptr;
    QComboBox* unit_ = nullptr;
    QComboBox* palette_ = nullptr;
    std::unordered_map<int, QAction*> actions_;
    std::unordered_map<int, std::function<void()>> handlers_;
    // Choices made while the worker owns the Document, applied when it reports its end.
    std::int64_t memory_limit_ = kMemoryLimits[0];
    ViewToggles toggled_while_busy_{false, false, false, false, false};
    std::optional<LogoChoice> pending_logo_;
    std::function<void()> then_;  // what the running job wants done after it, on this thread
    bool quitting_ = false;
    bool filling_controls_ = false;  // controls are being written by the window, not the user
};

}  // namespace velq::gui
