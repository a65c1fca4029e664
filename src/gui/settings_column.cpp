#include "gui/settings_column.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/units.h"
#include "gui/image_adapter.h"
#include "gui/qt_text.h"
#include "gui/window_names.h"
#include "render/palette.h"

namespace velq::gui {

namespace {

// What the cryptic fields mean, for their tooltips.
QString field_tip(int id) {
    switch (id) {
        case ctl::kInt:
            return QStringLiteral("Enlargement of the working picture (filters use it)");
        case ctl::kBlu:
            return QStringLiteral("Blur radius before segmentation, in enlarged pixels per INT");
        case ctl::kThr:
            return QStringLiteral("Colour threshold: larger values give larger segments and circles");
        case ctl::kGap:
            return QStringLiteral("Gap between circles, in pixels");
        case ctl::kMax:
            return QStringLiteral("Largest circle, as a fraction of the picture's larger side");
        case ctl::kMin:
            return QStringLiteral("Smallest circle, as a fraction of the picture's larger side");
        case ctl::kDil:
            return QStringLiteral("Dilation of segments, in pixels");
        case ctl::kKMean:
            return QStringLiteral("Number of colours for the K-mean filter (2 or more)");
        case ctl::kTrans:
            return QStringLiteral("Opacity of the selected layer's shapes, 0 (clear) to 255 (solid)");
        case ctl::kSize:
            return QStringLiteral("Size of the selected layer's shapes, in percent (0 to 300)");
        case ctl::kBright:
            return QStringLiteral("Brightness of the selected layer's shapes, in percent");
        case ctl::kGlobalBrightness:
            return QStringLiteral("Brightness added over all layers");
        case ctl::kDpi:
            return QStringLiteral("Dots per inch, for sizes in inch, cm or meter");
        case ctl::kWid:
        case ctl::kHgt:
            return QStringLiteral("Size of the rendered picture, in the chosen unit");
        default:
            return {};
    }
}

}  // namespace

SettingsColumn::SettingsColumn(Document& doc, const UiState& ui, QWidget* parent)
    : QWidget(parent), doc_(doc), ui_(ui) {
    setFixedWidth(300);
    build();
}

void SettingsColumn::build() {
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
    auto* grid = new QGridLayout;
    box->addLayout(grid);
    auto* checks = new QGridLayout;
    int grid_row = 0, check_index = 0;

    for (const Control& c : control_table()) {
        const QString name = control_name(c.id);
        switch (c.kind) {
            case ControlKind::IntEdit:
            case ControlKind::DoubleEdit: {
                auto* edit = new QLineEdit(q(c.default_text), this);
                edit->setObjectName(name);
                edit->setToolTip(field_tip(c.id));
                if (c.id == ctl::kShapeNumber) {
                    auto* select_row = new QHBoxLayout;
                    select_row->addWidget(new QLabel(q(c.label), this));
                    select_row->addWidget(edit, 1);
                    box->addLayout(select_row);
                    break;
                }
                grid->addWidget(new QLabel(q(c.label), this), grid_row, 0);
                grid->addWidget(edit, grid_row++, 1);
                break;
            }
            case ControlKind::Combo: {
                auto* combo = new QComboBox(this);
                combo->setObjectName(name);
                if (c.id == ctl::kUnit) {
                    for (auto u : kUnitNames) combo->addItem(q(u));
                    unit_ = combo;
                    grid->addWidget(new QLabel(q(c.label), this), grid_row, 0);
                    grid->addWidget(combo, grid_row++, 1);
                } else {
                    for (const Palette& p : doc_.palettes) combo->addItem(QString::fromStdString(p.name));
                    palette_ = combo;
                    box->addWidget(new QLabel(q(c.label), this));
                    box->addWidget(combo);
                }
                break;
            }
            case ControlKind::Preview: {
                palette_preview_ = new QLabel(this);
                palette_preview_->setObjectName(name);
                palette_preview_->setFixedHeight(48);
                palette_preview_->setScaledContents(true);
                palette_preview_->setFrameShape(QFrame::Box);
                palette_preview_->setToolTip(q(c.label));
                box->addWidget(palette_preview_);
                box->addLayout(checks);
                break;
            }
            case ControlKind::Check: {
                auto* check = new QCheckBox(q(c.label), this);
                check->setObjectName(name);
                checks->addWidget(check, check_index / 2, check_index % 2);
                ++check_index;
                connect(check, &QCheckBox::clicked, this, &SettingsColumn::on_check_box_clicked);
                break;
            }
            case ControlKind::List: {
                layer_list_ = new QListWidget(this);
                layer_list_->setObjectName(name);
                layer_list_->setMinimumHeight(170);
                box->addWidget(layer_list_, 1);
                break;
            }
            case ControlKind::Button: {
                auto* button = new QPushButton(q(c.label), this);
                button->setObjectName(name);
                box->addWidget(button);
                connect(button, &QPushButton::clicked, this, [this] {
                    emit select_clicked(parse_int(field_text(ctl::kShapeNumber).toStdString()));
                });
                break;
            }
        }
    }

    auto edited = [this](int id, auto slot) {
        connect(findChild<QLineEdit*>(control_name(id)), &QLineEdit::textEdited, this, slot);
    };
    for (int id : {ctl::kInt, ctl::kBlu, ctl::kThr, ctl::kGap, ctl::kMax, ctl::kMin, ctl::kDil, ctl::kKMean,
                   ctl::kGlobalBrightness, ctl::kWid, ctl::kHgt, ctl::kDpi})
        edited(id, [this, id] { emit this->edited(id); });
    edited(ctl::kWid, [this] { on_side_edited(true); });
    edited(ctl::kHgt, [this] { on_side_edited(false); });
    edited(ctl::kDpi, [this] { on_dpi_edited(); });
    for (int id : {ctl::kTrans, ctl::kSize, ctl::kBright})
        edited(id, [this, id] { on_layer_value_edited(id); });
    connect(unit_, &QComboBox::currentIndexChanged, this, &SettingsColumn::on_unit_changed);
    connect(palette_, &QComboBox::currentIndexChanged, this, &SettingsColumn::on_palette_changed);
    connect(layer_list_, &QListWidget::currentRowChanged, this, &SettingsColumn::on_layer_selected);
    connect(layer_list_, &QListWidget::itemDoubleClicked, this, &SettingsColumn::layer_activated);
}

// Fields -----------------------------------------------------------------------------------------

QString SettingsColumn::field_text(int id) const {
    if (auto* e = findChild<QLineEdit*>(control_name(id))) return e->text();
    return {};
}

void SettingsColumn::set_field_text(int id, const QString& text) {
    // The same text is left alone, so a field being typed in keeps its cursor.
    if (auto* e = findChild<QLineEdit*>(control_name(id)); e && e->text() != text) e->setText(text);
}

void SettingsColumn::read_fields() {
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

void SettingsColumn::write_fields() {
    const Settings& s = doc_.settings;
    filling_ = true;
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
    filling_ = false;
    write_size_fields();
}

void SettingsColumn::write_size_fields() {
    if (!ui_.picture) return;
    Settings& s = doc_.settings;
    rewrite_size_fields(s);  // from the output pixel size, which stays as it is
    set_field_text(ctl::kWid, QString::fromStdString(format_size(s.wid, s.unit)));
    set_field_text(ctl::kHgt, QString::fromStdString(format_size(s.hgt, s.unit)));
}

void SettingsColumn::update_enabled(const UiState& s) {
    for (const Control& c : control_table())
        if (auto* w = findChild<QWidget*>(control_name(c.id))) w->setEnabled(control_enabled(c.id, s));
}

void SettingsColumn::enable_live_fields(bool layer_options) {
    for (int id : {ctl::kTrans, ctl::kSize, ctl::kBright, ctl::kGlobalBrightness})
        findChild<QWidget*>(control_name(id))->setEnabled(true);
    palette_->setEnabled(layer_options);
}

// Typing one side keeps the picture's aspect and rewrites the other side.
void SettingsColumn::on_side_edited(bool width) {
    if (filling_ || !ui_.picture || !doc_.working) return;
    Settings& s = doc_.settings;
    const int w = doc_.working.width(), h = doc_.working.height();
    const double value = parse_double(field_text(width ? ctl::kWid : ctl::kHgt).toStdString());
    if (!(width ? set_width_field(s, w, h, value) : set_height_field(s, w, h, value))) return;
    if (width)
        set_field_text(ctl::kHgt, QString::fromStdString(format_size(s.hgt, s.unit)));
    else
        set_field_text(ctl::kWid, QString::fromStdString(format_size(s.wid, s.unit)));
}

void SettingsColumn::on_dpi_edited() {
    if (filling_) return;
    const int dpi = parse_int(field_text(ctl::kDpi).toStdString());
    if (dpi == doc_.settings.dpi) return;
    doc_.settings.dpi = dpi;
    write_size_fields();
}

void SettingsColumn::on_unit_changed(int index) {
    if (filling_ || index < 0 || index > 3) return;
    doc_.settings.unit = Unit(index);
    write_size_fields();
}

// Layers -----------------------------------------------------------------------------------------

Layer* SettingsColumn::selected_layer() {
    const int i = doc_.selected_layer;
    return i >= 0 && i < int(doc_.layers.size()) ? &doc_.layers[i] : nullptr;
}

// The three layer values change the selected layer and its list line, never the field being typed in.
void SettingsColumn::on_layer_value_edited(int id) {
    Layer* l = selected_layer();
    if (filling_ || !l) return;
    const int value = parse_int(field_text(id).toStdString());
    emit about_to_edit();
    const bool changed = id == ctl::kTrans  ? l->set_transparency(value)
                         : id == ctl::kSize ? l->set_size(value)
                                            : l->set_brightness(value);
    if (changed) {
        refresh_layer_texts();
        emit edited(id);
    }
}

void SettingsColumn::on_palette_changed(int index) {
    if (filling_ || index < 0 || index >= int(doc_.palettes.size()) || index == doc_.selected_palette) return;
    emit about_to_edit();
    doc_.selected_palette = index;
    draw_palette_preview();
    if (Layer* l = selected_layer(); l && doc_.selected_layer >= 1) l->palette = index;
    emit redraw_needed();
    emit edited(ctl::kPalette);
}

void SettingsColumn::on_layer_selected(int row) {
    if (filling_) return;
    doc_.selected_layer = row;
    if (!selected_layer()) {
        emit layer_changed();
        return;
    }
    refresh_layer_controls();
    emit redraw_needed();
}

void SettingsColumn::on_check_box_clicked() {
    if (filling_) return;
    emit about_to_edit();
    Layer* l = selected_layer();
    if (l && doc_.selected_layer >= 1) {
        auto checked = [this](int id) { return findChild<QCheckBox*>(control_name(id))->isChecked(); };
        l->random = checked(ctl::kRandom);
        l->shuffle = checked(ctl::kShuffle);
        l->invert = checked(ctl::kInvert);
        l->convert = checked(ctl::kConvert);
    }
    doc_.toggles.final_result = false;
    emit colour_options_changed();
    emit edited(ctl::kRandom);
}

void SettingsColumn::refresh_layer_list() {
    filling_ = true;
    layer_list_->clear();
    for (int i = 0; i < int(doc_.layers.size()); ++i)
        layer_list_->addItem(QString::fromStdString(doc_.layers[i].list_text(i)));
    if (doc_.selected_layer >= 0 && doc_.selected_layer < layer_list_->count())
        layer_list_->setCurrentRow(doc_.selected_layer);
    filling_ = false;
    refresh_layer_controls();
}

void SettingsColumn::refresh_layer_texts() {
    if (layer_list_->count() != int(doc_.layers.size())) {
        refresh_layer_list();
        return;
    }
    for (int i = 0; i < int(doc_.layers.size()); ++i)
        layer_list_->item(i)->setText(QString::fromStdString(doc_.layers[i].list_text(i)));
    emit layer_changed();
}

void SettingsColumn::refresh_layer_controls() {
    Layer* l = selected_layer();
    filling_ = true;
    if (l) {
        set_field_text(ctl::kTrans, QString::number(l->transparency));
        set_field_text(ctl::kSize, QString::number(l->size));
        set_field_text(ctl::kBright, QString::number(l->brightness));
        if (doc_.selected_layer >= 1) {
            auto set = [this](int id, bool on) { findChild<QCheckBox*>(control_name(id))->setChecked(on); };
            set(ctl::kRandom, l->random);
            set(ctl::kShuffle, l->shuffle);
            set(ctl::kInvert, l->invert);
            set(ctl::kConvert, l->convert);
            if (l->palette >= 0 && l->palette < palette_->count()) {
                palette_->setCurrentIndex(l->palette);
                doc_.selected_palette = l->palette;
            }
        } else {
            palette_->setCurrentIndex(-1);  // layer 0 has no palette to show
        }
    }
    filling_ = false;
    draw_palette_preview();
    emit layer_changed();
}

void SettingsColumn::draw_palette_preview() {
    const int i = doc_.selected_palette;
    if (i < 0 || i >= int(doc_.palettes.size()) || doc_.selected_layer < 1) {
        palette_preview_->clear();
        return;
    }
    palette_preview_->setPixmap(QPixmap::fromImage(to_qimage(palette_preview(doc_.palettes[i]))));
}

}  // namespace velq::gui
