#include "gui/drawing_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>

#include "app/drawing_op.h"
#include "app/units.h"
#include "gui/presenter.h"
#include "render/layer.h"
#include "segments/colour.h"

namespace velq::gui {

namespace {

// The kinds in the order the list shows them.
constexpr std::pair<const char*, DrawingKind> kKinds[] = {
    {"Cells - pebble", DrawingKind::PebbleCells},
    {"Cells - crystal", DrawingKind::CrystalCells},
    {"Spikes - web", DrawingKind::WebSpikes},
    {"Spikes - burst", DrawingKind::BurstSpikes},
};

}  // namespace

DrawingDialog::DrawingDialog(Presenter& presenter, const Drawing& initial, QWidget* parent)
    : QDialog(parent), presenter_(presenter), lead_colour_(initial.lead_colour) {
    setWindowTitle(QStringLiteral("Spike drawing"));
    auto* form = new QFormLayout(this);
    kind_ = new QComboBox(this);
    for (const auto& [name, kind] : kKinds) {
        kind_->addItem(QString::fromLatin1(name));
        if (kind == initial.kind) kind_->setCurrentIndex(kind_->count() - 1);
    }
    layer_ = new QComboBox(this);
    for (int i = 0; i < Layer::kCount; ++i) layer_->addItem(QStringLiteral("Ly%1").arg(i));
    layer_->setCurrentIndex(std::clamp(initial.layer, 0, Layer::kCount - 1));
    // As typed: "1", "1.5", not "1.000000".
    spike_width_ = new QLineEdit(QString::number(initial.spike_width, 'g', 15), this);
    burst_ = new QLineEdit(QString::number(initial.burst), this);
    lead_ = new QLineEdit(QString::number(initial.lead), this);
    colour_ = new QPushButton(this);
    show_colour();
    for (auto [w, name] : {std::pair<QWidget*, const char*>{kind_, "kind"},
                           {layer_, "layer"},
                           {spike_width_, "spike_width"},
                           {burst_, "burst"},
                           {lead_, "lead"},
                           {colour_, "lead_colour"}})
        w->setObjectName(QString::fromLatin1(name));
    form->addRow(QStringLiteral("Kind"), kind_);
    form->addRow(QStringLiteral("Colours of layer"), layer_);
    form->addRow(QStringLiteral("Spike width"), spike_width_);
    form->addRow(QStringLiteral("Burst spikes"), burst_);
    form->addRow(QStringLiteral("Lead width"), lead_);
    form->addRow(QStringLiteral("Lead colour"), colour_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &DrawingDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &DrawingDialog::reject);
    connect(colour_, &QPushButton::clicked, this, [this] {
        const QColor now(colorref_red(lead_colour_), colorref_green(lead_colour_),
                         colorref_blue(lead_colour_));
        if (auto chosen = presenter_.choose_colour(this, now)) {
            lead_colour_ = pack_colorref(chosen->red(), chosen->green(), chosen->blue());
            show_colour();
        }
    });
}

void DrawingDialog::show_colour() {
    const QColor c(colorref_red(lead_colour_), colorref_green(lead_colour_), colorref_blue(lead_colour_));
    colour_->setText(c.name().mid(1).toUpper());
    colour_->setStyleSheet(
        QStringLiteral("background: %1; color: %2")
            .arg(c.name(), c.lightness() < 128 ? QStringLiteral("white") : QStringLiteral("black")));
}

Drawing DrawingDialog::drawing() const {
    Drawing d;
    d.kind = kKinds[std::clamp(kind_->currentIndex(), 0, 3)].second;
    d.layer = layer_->currentIndex();
    d.spike_width = parse_double(spike_width_->text().toStdString());
    d.burst = parse_int(burst_->text().toStdString());
    d.lead = parse_int(lead_->text().toStdString());
    d.lead_colour = lead_colour_;
    return d;
}

void DrawingDialog::accept() {
    if (const std::string problem = drawing_problem(drawing()); !problem.empty()) {
        presenter_.message(this, QString::fromStdString(problem));
        return;
    }
    QDialog::accept();
}

}  // namespace velq::gui
