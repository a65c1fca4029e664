// The "Shape Detail" dialog: steps through the selected layer's shapes with PREV and NEXT, showing
// each one's grey preview; the title reads "Shape - index/count" with the 0-based cursor.
#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

namespace velq {
struct Document;
}

namespace velq::gui {

class ShapeDetailDialog : public QDialog {
    Q_OBJECT
public:
    // Works on doc.selected_layer, read at every step (an out-of-range layer makes the buttons do nothing).
    ShapeDetailDialog(Document& doc, QWidget* parent = nullptr);

    void step(int by);  // PREV is -1, NEXT +1

private:
    void show_current();

    Document& doc_;
    QLabel* picture_ = nullptr;
};

}  // namespace velq::gui
