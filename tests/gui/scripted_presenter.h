// A presenter for window tests: records every message and question, answers from queues, and never
// opens a real dialog, so nothing blocks on the offscreen platform.
#pragma once

#include <deque>
#include <functional>

#include <QDialog>
#include <QStringList>

#include "gui/presenter.h"

namespace velq::gui::test {

class ScriptedPresenter : public Presenter {
public:
    void message(QWidget*, const QString& text) override { messages << text; }
    bool ask(QWidget*, const QString& question) override {
        questions << question;
        if (answers.empty()) return false;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }
    QString open_file(QWidget*, const FileType& type, const QString& folder) override {
        file_types << type.name;
        folders << folder;
        return take(open_names);
    }
    QStringList open_files(QWidget*, const FileType& type, const QString&) override {
        file_types << type.name;
        QStringList out;
        if (!open_lists.empty()) {
            out = open_lists.front();
            open_lists.pop_front();
        }
        return out;
    }
    QString save_file(QWidget*, const QList<FileType>& types, int preferred, int& chosen,
                      const QString&) override {
        for (const auto& t : types) file_types << t.name;
        chosen = save_type >= 0 ? save_type : preferred;
        return take(save_names);
    }
    std::optional<QColor> choose_colour(QWidget*, const QColor& initial) override {
        colour_initials << initial;
        if (colours.empty()) return std::nullopt;
        const QColor c = colours.front();
        colours.pop_front();
        return c;
    }
    std::optional<QString> choose_font(QWidget*, const QString& face) override {
        font_initials << face;
        if (fonts.empty()) return std::nullopt;
        const QString f = fonts.front();
        fonts.pop_front();
        return f;
    }
    std::optional<double> ask_number(QWidget*, const QString& label, double, double, double) override {
        number_labels << label;
        if (numbers.empty()) return std::nullopt;
        const double v = numbers.front();
        numbers.pop_front();
        return v;
    }
    std::optional<QSize> ask_size(QWidget*, const QSize& size) override {
        size_initials << size;
        if (sizes.empty()) return std::nullopt;
        const QSize v = sizes.front();
        sizes.pop_front();
        return v;
    }
    int exec(QDialog& dialog) override {
        dialogs << dialog.windowTitle();
        if (on_dialog) return on_dialog(dialog);
        return QDialog::Rejected;
    }

    QStringList messages, questions, file_types, dialogs, font_initials, folders, number_labels;
    QList<QSize> size_initials;
    QList<QColor> colour_initials;
    std::deque<bool> answers;
    std::deque<QString> open_names, save_names;
    std::deque<QStringList> open_lists;
    std::deque<QColor> colours;
    std::deque<QString> fonts;
    std::deque<double> numbers;
    std::deque<QSize> sizes;
    int save_type = -1;
    std::function<int(QDialog&)> on_dialog;

private:
    static QString take(std::deque<QString>& q) {
        if (q.empty()) return {};
        QString s = q.front();
        q.pop_front();
        return s;
    }
};

}  // namespace velq::gui::test
