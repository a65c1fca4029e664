// The main window: the picture panel on the left, the settings column on the right, the menus built
// from the command table. It owns the Document and the job runner; every long command runs on the
// worker, and the window follows it through the host's queued signals.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QMainWindow>

#include "app/commands.h"
#include "app/document.h"
#include "app/logo_choice.h"
#include "app/settings.h"
#include "gui/presenter.h"
#include "gui/window_host.h"
#include "gui/window_names.h"

class QAction;
class QTimer;

namespace velq::gui {

class CommandMenu;
class JobRunner;
class PicturePanel;
class PictureView;
class SettingsColumn;

// What status line 1 says between Stop and the operation's end.
inline const QString kStopping = QStringLiteral("Stopping...");

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // Without a presenter the real dialogs are used.
    explicit MainWindow(std::unique_ptr<Presenter> presenter = nullptr, QWidget* parent = nullptr);
    ~MainWindow() override;

    Document& document() { return doc_; }
    WindowHost& host() { return host_; }
    Presenter& presenter() { return *presenter_; }
    JobRunner& jobs() { return *jobs_; }
    SettingsColumn& settings_column() { return *settings_; }
    PicturePanel& picture_panel() { return *panel_; }
    PictureView& picture_view();
    QAction* action(int id) const;
    template <class T>
    T* control(int id) const {
        return findChild<T*>(control_name(id));
    }

    // Chooses a command as its menu item would (see CommandMenu::trigger).
    void trigger(int id);
    bool handles(int id) const;  // whether the command has a handler
    bool busy() const { return ui_.busy; }
    const UiState& ui_state() const { return ui_; }

    // Stops the running operation and waits for it (quit, tests).
    void stop_and_join();
    // Reads the settings fields and runs a long operation on the worker; `then` runs on the window's
    // thread once the job has ended and the window follows the Document again.
    void start_job(std::function<void()> job, std::function<void()> then = {});
    // Opens a picture as Open does after its file chooser (command line, drop).
    void open_path(const QString& path);
    // Brings every control, mark and the view in line with the Document (after a job, or after the
    // Document was changed from outside the window).
    void document_changed();
    void update_ui();  // enabled states of commands and controls
    void update_check_marks();

    // Choices made while the worker owns the Document are kept aside and applied when it ends.
    ViewToggles& toggles_to_change() { return ui_.busy ? toggled_while_busy_ : doc_.toggles; }
    void choose_logo_when_idle(const LogoChoice& choice) { pending_logo_ = choice; }
    std::int64_t memory_limit() const { return memory_limit_; }
    void set_memory_limit(std::int64_t limit);
    // Closes without asking again (the question has been answered).
    void quit();

    // Unsaved work: set by edits and by commands that change the result, cleared by Open and Save.
    // The title shows it, and quitting, Open, Paste metadata and a new filter ask before losing it.
    bool has_unsaved_work() const { return unsaved_; }
    void set_unsaved(bool on);
    // The file the work came from or went to, shown in the title.
    void set_file_name(const QString& path);
    // True when nothing unsaved would be lost, or the user agreed to lose it.
    bool may_discard_work();
    // A note over the view saying that it no longer matches the settings; empty clears it.
    void set_view_stale(const QString& reason);
    // Whether an automatic re-render (after a change of palette, Trans, Size or Bright) is running.
    bool rerendering() const { return rerendering_; }

protected:
    void closeEvent(QCloseEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dropEvent(QDropEvent* e) override;

private:
    void connect_parts();
    void busy_changed(bool on);
    void update_title();
    void setting_edited(int id);
    void start_rerender();
    void end_rerender();

    std::unique_ptr<Presenter> presenter_;
    WindowHost host_;
    Document doc_;
    UiState ui_;
    std::unique_ptr<JobRunner> jobs_;  // before the Document goes, the worker has ended
    PicturePanel* panel_ = nullptr;
    SettingsColumn* settings_ = nullptr;
    CommandMenu* menu_ = nullptr;
    std::int64_t memory_limit_ = kMemoryLimits[0];
    ViewToggles toggled_while_busy_{false, false, false, false, false};
    std::optional<LogoChoice> pending_logo_;
    bool quitting_ = false;
    bool unsaved_ = false;
    QString file_name_;
    QTimer* rerender_timer_ = nullptr;  // debounces the re-render after a change
    bool rerendering_ = false;
};

}  // namespace velq::gui
