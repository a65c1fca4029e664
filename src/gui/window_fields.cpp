// The main window's settings fields and layer list: reading the fields into the Settings when a job
// starts, writing them back from the Document, and the controls that follow the selected layer.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>

#include "app/units.h"
#include "gui/image_adapter.h"
#include "gui/main_window.h"
#include "render/palette.h"

namespace velq::gui {

// Settings fields ---------------------------------------------------------------------------------

QString MainWindow::field_text(int id) const {
    if (auto* e = control<QLineEdit>(id)) return e->text();
    return {};
}

void MainWindow::set_field_text(int id, const QString& text) {
    if (auto* e = control<QLineEdit>(id)) e->setText(text);
}

void MainWindow::read_settings_from_fields() {
    doc_.settings.memory_limit = memory_limit_;
    auto i = [this](int id) { return parse_int(field_text(id).toStdString()); };
    auto d = [this](int id) { return parse_double(field_text(id).toStdString()); };
    Settings& s = doc_.settings;
    s.interpolation = i(ctl::kInt);
    s.blur = i(ctl::kBlu);
    s.threshold = i(ctl::kThr);
    s.gap = i(ctl::kGap);
    s.max_size = d(ctl::kMax);
    s.min_size = d(ctl::kMin);
    s.dilation = i(ctl::kDil);
    s.k_mean = i(ctl::kKMean);
    s.global_brightness = i(ctl::kGlobalBrightness);
    s.unit = Unit(std::clamp(unit_->currentIndex(), 0, 3));
}

void MainWindow::write_fields_from_settings() {
    const Settings& s = doc_.settings;
    filling_controls_ = true;
    set_field_text(ctl::kInt, QString::number(s.interpolation));
    set_field_text(ctl::kBlu, QString::number(s.blur));
    set_field_text(ctl::kThr, QString::number(s.threshold));
    set_field_text(ctl::kGap, QString::number(s.gap));
    set_field_text(ctl::kDil, QString::number(s.dilation));
    set_field_text(ctl::kKMean, QString::number(s.k_mean));
    set_field_text(ctl::kGlobalBrightness, QString::number(s.global_brightness));
    if (parse_double(field_text(ctl::kMax).toStdString()) != s.max_size)
        set_field_text(ctl::kMax, QString::fromStdString(format_double(s.max_size)));
    if (parse_double(field_text(ctl::kMin).toStdString()) != s.min_size)
        set_field_text(ctl::kMin, QString::fromStdString(format_double(s.min_size)));
    if (ui_.picture) set_field_text(ctl::kDpi, QString::number(s.dpi));
    unit_->setCurrentIndex(int(s.unit));
    filling_controls_ = false;
    write_size_fields();
}

void MainWindow::write_size_fields() {
    if (!ui_.picture) return;
    Settings& s = doc_.settings;
    rewrite_size_fields(s);  // from the output pixel size, which stays as it is
    set_field_text(ctl::kWid, QString::fromStdString(format_size(s.wid, s.unit)));
    set_field_text(ctl::kHgt, QString::fromStdString(format_size(s.hgt, s.unit)));
}

// Layers -----------------------------------------------------------------------------------------

Layer* MainWindow::selected_layer() {
    const int i = doc_.selected_layer;
    return i >= 0 && i < int(doc_.layers.size()) ? &doc_.layers[i] : nullptr;
}

void MainWindow::refresh_layer_list() {
    filling_controls_ = true;
    layer_list_->clear();
    for (int i = 0; i < int(doc_.layers.size()); ++i)
        layer_list_->addItem(QString::fromStdString(doc_.layers[i].list_text(i)));
    if (doc_.selected_layer >= 0 && doc_.selected_layer < layer_list_->count())
        layer_list_->setCurrentRow(doc_.selected_layer);
    filling_controls_ = false;
    refresh_layer_controls();
}

void MainWindow::refresh_layer_controls() {
    Layer* l = selected_layer();
    filling_controls_ = true;
    if (l) {
        set_field_text(ctl::kTrans, QString::number(l->transparency));
        set_field_text(ctl::kSize, QString::number(l->size));
        set_field_text(ctl::kBright, QString::number(l->brightness));
        if (doc_.selected_layer >= 1) {
            control<QCheckBox>(ctl::kRandom)->setChecked(l->random);
            control<QCheckBox>(ctl::kShuffle)->setChecked(l->shuffle);
            control<QCheckBox>(ctl::kInvert)->setChecked(l->invert);
            control<QCheckBox>(ctl::kConvert)->setChecked(l->convert);
            if (l->palette >= 0 && l->palette < palette_->count()) {
                palette_->setCurrentIndex(l->palette);
                doc_.selected_palette = l->palette;
            }
        }
    }
    filling_controls_ = false;
    draw_palette_preview();
    update_ui();
}

void MainWindow::draw_palette_preview() {
    const int i = doc_.selected_palette;
    if (i < 0 || i >= int(doc_.palettes.size())) {
        palette_preview_->clear();
        return;
    }
    palette_preview_->setPixmap(QPixmap::fromImage(to_qimage(palette_preview(doc_.palettes[i]))));
}

}  // namespace velq::gui
