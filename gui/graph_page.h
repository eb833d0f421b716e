// The graph tab: x, y and colour menus over the columns of an output file or
// batch input file (x and y kept in the stored settings), the graph, the note
// on left-out samples, and opening, resetting and exporting.
#pragma once

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>

#include <functional>
#include <memory>

#include "app/ui.h"
#include "gui/graph_renderer.h"
#include "gui/graph_widget.h"
#include "gui/user_dialogs.h"

namespace brinora {

class GraphPage : public QWidget {
    Q_OBJECT
public:
    // `defaults` holds the axes; `dialogs` gives the dialogs to ask through.
    GraphPage(SettingsStore& defaults, std::function<UserDialogs*()> dialogs, QWidget* parent = nullptr);
    ~GraphPage() override;

    // Reads and plots the file at `path`. When it cannot be plotted the
    // reason is presented (with `quiet`, only shown under the graph) and the
    // earlier graph stays. Returns whether it was plotted.
    bool loadFile(const QString& path, bool quiet = false);

    QComboBox* xMenu() const { return xMenu_; }
    QComboBox* yMenu() const { return yMenu_; }
    QComboBox* colourMenu() const { return colourMenu_; }
    GraphWidget* graph() const { return graph_; }
    QLabel* noteLabel() const { return note_; }
    QLabel* fileLabel() const { return file_; }
    // Where the error bars come from, or why there are none ("" when the
    // plotted file has no uncertainty file beside it).
    QLabel* errorBarsLabel() const { return errorBars_; }
    QPushButton* openButton() const { return open_; }
    QPushButton* resetButton() const { return reset_; }
    QPushButton* exportButton() const { return export_; }
    // Opens the error-space diagram of the one-sample form's last sample.
    QPushButton* errorSpaceButton() const { return errorSpace_; }
    QComboBox* exportFormat() const { return format_; }
    QSpinBox* exportWidth() const { return width_; }
    QSpinBox* exportHeight() const { return height_; }
    const GraphScene& scene() const { return scene_; }

Q_SIGNALS:
    // The error-space button was pressed.
    void errorSpaceRequested();

public Q_SLOTS:
    // Asks for a file and plots it.
    void openFile();
    // Asks for a path and writes the graph there at the chosen format and size.
    void exportGraphFile();

private:
    void fillMenus(graph::FileKind kind);
    void replot();
    void present(const std::string& message);

    SettingsStore& defaults_;
    std::function<UserDialogs*()> dialogs_;
    std::unique_ptr<graph::GraphTable> table_;
    GraphScene scene_;
    bool filling_ = false;

    QComboBox* xMenu_ = nullptr;
    QComboBox* yMenu_ = nullptr;
    QComboBox* colourMenu_ = nullptr;
    GraphWidget* graph_ = nullptr;
    QLabel* note_ = nullptr;
    QLabel* file_ = nullptr;
    QLabel* errorBars_ = nullptr;
    QPushButton* open_ = nullptr;
    QPushButton* reset_ = nullptr;
    QPushButton* export_ = nullptr;
    QPushButton* errorSpace_ = nullptr;
    QComboBox* format_ = nullptr;
    QSpinBox* width_ = nullptr;
    QSpinBox* height_ = nullptr;
};

}  // namespace brinora
