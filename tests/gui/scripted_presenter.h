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
        return take(answers).value_or(false);
    }
    QString open_file(QWidget*, const FileType& type, const QString& folder) override {
        file_types << type.name;
        folders << folder;
        return take(open_names).value_or(QString());
    }
    QStringList open_files(QWidget*, const FileType& type, const QString&) override {
        file_types << type.name;
        return {};
    }
    QString save_file(QWidget*, const QList<FileType>& types, int preferred, int& chosen,
                      const QString&) override {
        for (const auto& t : types) file_types << t.name;
        chosen = preferred;
        return take(save_names).value_or(QString());
    }
    std::optional<QColor> choose_colour(QWidget*, const QColor&) override { return take(colours); }
    std::optional<double> ask_number(QWidget*, const QString&, double, double, double) override {
        return take(numbers);
    }
    std::optional<QSize> ask_size(QWidget*, const QSize&) override { return std::nullopt; }
    int exec(QDialog& dialog) override {
        dialogs << dialog.windowTitle();
        if (on_dialog) return on_dialog(dialog);
        return QDialog::Rejected;
    }

    QStringList messages, questions, file_types, dialogs, folders;
    std::deque<bool> answers;
    std::deque<QString> open_names, save_names;
    std::deque<QColor> colours;
    std::deque<double> numbers;
    std::function<int(QDialog&)> on_dialog;

private:
    // The next scripted reply, or none when the script has run out.
    template <class T>
    static std::optional<T> take(std::deque<T>& q) {
        if (q.empty()) return std::nullopt;
        T v = std::move(q.front());
        q.pop_front();
        return v;
    }
};

}  // namespace velq::gui::test
