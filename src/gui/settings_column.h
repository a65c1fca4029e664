// The settings column, right of the picture: the numeric fields, the unit and palette choices, the
// colour-option check boxes, the layer list and the segment Select row. It reads the fields into the
// Document's Settings when a job starts, writes them back from it, and edits the selected layer as
// the user types.
#pragma once

#include <QString>
#include <QWidget>

#include "app/commands.h"
#include "app/document.h"

class QComboBox;
class QLabel;
class QListWidget;

namespace velq::gui {

class SettingsColumn : public QWidget {
    Q_OBJECT
public:
    // `ui` is the window's state; the column reads whether a picture has been read from it.
    SettingsColumn(Document& doc, const UiState& ui, QWidget* parent = nullptr);

    QString field_text(int id) const;
    void set_field_text(int id, const QString& text);

    void read_fields();   // into the Document's Settings
    void write_fields();  // from the Document's Settings
    void write_size_fields();
    void refresh_layer_list();
    void refresh_layer_texts();  // list lines only, the fields stay as typed
    void draw_palette_preview();
    Layer* selected_layer();
    void update_enabled(const UiState& s);
    // While an automatic render runs, the values it follows stay editable (each edit cancels it).
    void enable_live_fields(bool layer_options);

signals:
    // The selected layer or one of its values changed: what the menus offer may follow.
    void layer_changed();
    void redraw_needed();
    // A colour-option box was clicked (Final result has been turned off).
    void colour_options_changed();
    void layer_activated();  // double click on the layer list
    void select_clicked(int number);
    // Sent before a user edit changes the Document, so a job reading it can be ended first.
    void about_to_edit();
    // The user changed a field or a choice (its control number), after the Document took it.
    void edited(int id);

private:
    void build();
    void refresh_layer_controls();
    void on_side_edited(bool width);
    void on_dpi_edited();
    void on_unit_changed(int index);
    void on_layer_value_edited(int id);
    void on_palette_changed(int index);
    void on_layer_selected(int row);
    void on_check_box_clicked();

    Document& doc_;
    const UiState& ui_;
    QComboBox* unit_ = nullptr;
    QComboBox* palette_ = nullptr;
    QLabel* palette_preview_ = nullptr;
    QListWidget* layer_list_ = nullptr;
    bool filling_ = false;  // the fields are being written by the program, not the user
};

}  // namespace velq::gui
