// The main window's control notifications: the size fields, the layer values, the palette, the layer
// list, the colour-option check boxes and the Select button, and the mouse picks of the view.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

#include "app/segment_commands.h"
#include "app/units.h"
#include "gui/main_window.h"
#include "gui/picture_view.h"

namespace velq::gui {

namespace {
int field_int(const QLineEdit* e) {
    return parse_int(e->text().toStdString());
}
}  // namespace

void MainWindow::on_wid_edited() {
    if (filling_controls_ || !ui_.picture || !doc_.working) return;
    Settings& s = doc_.settings;
    const double value = parse_double(field_text(ctl::kWid).toStdString());
    if (!set_width_field(s, doc_.working.width(), doc_.working.height(), value)) return;
    set_field_text(ctl::kHgt, QString::fromStdString(format_size(s.hgt, s.unit)));
}

void MainWindow::on_hgt_edited() {
    if (filling_controls_ || !ui_.picture || !doc_.working) return;
    Settings& s = doc_.settings;
    const double value = parse_double(field_text(ctl::kHgt).toStdString());
    if (!set_height_field(s, doc_.working.width(), doc_.working.height(), value)) return;
    set_field_text(ctl::kWid, QString::fromStdString(format_size(s.wid, s.unit)));
}

void MainWindow::on_dpi_edited() {
    if (filling_controls_) return;
    const int dpi = parse_int(field_text(ctl::kDpi).toStdString());
    if (dpi == doc_.settings.dpi) return;
    doc_.settings.dpi = dpi;
    write_size_fields();
}

void MainWindow::on_unit_changed(int index) {
    if (filling_controls_ || index < 0 || index > 3) return;
    doc_.settings.unit = Unit(index);
    write_size_fields();
}

// The three layer values change the selected layer and its list line, never the field being typed in.
void MainWindow::on_trans_edited() {
    Layer* l = selected_layer();
    if (filling_controls_ || !l) return;
    if (l->set_transparency(field_int(control<QLineEdit>(ctl::kTrans)))) refresh_layer_texts();
}

void MainWindow::on_size_edited() {
    Layer* l = selected_layer();
    if (filling_controls_ || !l) return;
    if (l->set_size(field_int(control<QLineEdit>(ctl::kSize)))) refresh_layer_texts();
}

void MainWindow::on_bright_edited() {
    Layer* l = selected_layer();
    if (filling_controls_ || !l) return;
    if (l->set_brightness(field_int(control<QLineEdit>(ctl::kBright)))) refresh_layer_texts();
}

void MainWindow::on_palette_changed(int index) {
    if (filling_controls_ || index < 0 || index >= int(doc_.palettes.size()) ||
        index == doc_.selected_palette)
        return;
    doc_.selected_palette = index;
    draw_palette_preview();
    if (Layer* l = selected_layer(); l && doc_.selected_layer >= 1) l->palette = index;
    redraw();
}

void MainWindow::on_layer_selected(int row) {
    if (filling_controls_) return;
    doc_.selected_layer = row;
    if (!selected_layer()) {
        update_ui();
        return;
    }
    refresh_layer_controls();
    redraw();
}

void MainWindow::on_layer_double_clicked() {
    if (Layer* l = selected_layer(); l && l->has_shapes() && !ui_.busy) cmd_show_shapes();
}

void MainWindow::on_check_box_clicked() {
    if (filling_controls_) return;
    Layer* l = selected_layer();
    if (l && doc_.selected_layer >= 1) {
        l->random = control<QCheckBox>(ctl::kRandom)->isChecked();
        l->shuffle = control<QCheckBox>(ctl::kShuffle)->isChecked();
        l->invert = control<QCheckBox>(ctl::kInvert)->isChecked();
        l->convert = control<QCheckBox>(ctl::kConvert)->isChecked();
    }
    doc_.toggles.final_result = false;
    update_check_marks();
    if (doc_.transformed) rebuild_overlay();
    redraw();
}

void MainWindow::on_select_clicked() {
    const int n = parse_int(field_text(ctl::kShapeNumber).toStdString());
    if (n < 0 || n >= int(doc_.segments.size())) return;
    doc_.selected_outline = n;
    show_segment_details(n);
    update_outline_marks();
}

void MainWindow::show_segment_details(int i) {
    if (i < 0 || i >= int(doc_.segments.size())) return;
    const Segment& s = doc_.segments[i];
    status2_->setText(QStringLiteral("Segment %1: %2 circles, colour (%3, %4, %5), %6")
                          .arg(i)
                          .arg(s.circles.size())
                          .arg(int(s.colour.c0))
                          .arg(int(s.colour.c1))
                          .arg(int(s.colour.c2))
                          .arg(s.enabled ? QStringLiteral("enabled") : QStringLiteral("disabled")));
}

void MainWindow::on_hovered_at(QPointF pos) {
    if (ui_.busy || !doc_.transformed) return;
    if (hover_segment(doc_, host_, view_->state().rect, pos.x(), pos.y()) && doc_.hovered_outline >= 0)
        show_segment_details(doc_.hovered_outline);
}

void MainWindow::on_double_clicked_at(QPointF pos) {
    if (ui_.busy || !doc_.transformed) return;
    if (double_click_segment(doc_, host_, view_->state().rect, pos.x(), pos.y()))
        show_segment_details(doc_.selected_segment);
    update_ui();
}

void MainWindow::on_right_clicked() {
    if (ui_.busy) return;
    clear_segment_selection(doc_, host_);
}

void MainWindow::on_refresh(int what) {
    if (ui_.busy) return;  // the job's end brings everything up to date
    switch (Refresh(what)) {
        case Refresh::Outlines:
            rebuild_overlay();
            update_ui();
            break;
        case Refresh::Layers:
            refresh_layer_list();
            break;
        case Refresh::View:
        case Refresh::Result:
            redraw();
            break;
    }
}

void MainWindow::update_outline_marks() {
    QVector<int> selected;
    const int n = int(doc_.segments.size());
    if (doc_.selected_outline >= 0 && doc_.selected_outline < n) selected << doc_.selected_outline;
    if (doc_.toggles.all_enclosed)
        for (std::size_t i : selected_segments(doc_))
            if (!selected.contains(int(i))) selected << int(i);
    view_->set_outline_marks(selected, doc_.hovered_outline < n ? doc_.hovered_outline : -1);
}

void MainWindow::refresh_layer_texts() {
    if (layer_list_->count() != int(doc_.layers.size())) {
        refresh_layer_list();
        return;
    }
    for (int i = 0; i < int(doc_.layers.size()); ++i)
        layer_list_->item(i)->setText(QString::fromStdString(doc_.layers[i].list_text(i)));
    update_ui();
}

}  // namespace velq::gui
