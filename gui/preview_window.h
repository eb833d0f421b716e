// The preview window of a batch run: a table of the first lines' results, the
// preview length with its stepper, and the Cancel, Refresh and OK buttons.
#pragma once

#include <QAbstractTableModel>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QToolButton>

#include <string_view>
#include <vector>

#include "app/preview_table.h"

namespace brinora {

// One column of the preview table: the "Dict" key it shows and its heading.
struct PreviewColumn {
    std::string_view identifier;  // key of the "Dict" record
    std::string_view title;       // column heading with the unit
    bool numeric;                 // numbers are aligned right, text left
};

// The columns, in the order the table shows them.
const std::vector<PreviewColumn>& previewColumns();

// The table view's model over the toolkit-free preview table.
class PreviewTableItemModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit PreviewTableItemModel(PreviewTableModel& table, QObject* parent = nullptr);

    // Asks the preview table for its row count again (numberOfRowsInTableView)
    // and reloads every cell.
    void reload();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    PreviewTableModel& table_;
    int rows_ = 0;
};

// Small up and down arrows that step an integer value.
class Stepper : public QWidget {
    Q_OBJECT
public:
    explicit Stepper(QWidget* parent = nullptr);

    int value() const { return value_; }
    // Sets the value without emitting stepped().
    void setValue(int value);
    int minimum() const { return minimum_; }
    int maximum() const { return maximum_; }
    QToolButton* upButton() const { return up_; }
    QToolButton* downButton() const { return down_; }

Q_SIGNALS:
    // The user stepped to `value`.
    void stepped(int value);

private:
    void step(int delta);

    int value_ = 5;
    int minimum_ = 0;
    int maximum_ = 500;
    QToolButton* up_;
    QToolButton* down_;
};

class PreviewWindow : public QDialog {
    Q_OBJECT
public:
    PreviewWindow(PreviewTableItemModel* model, QWidget* parent = nullptr);

    QTableView* table() const { return table_; }
    Stepper* stepper() const { return stepper_; }
    QLineEdit* lengthField() const { return lengthField_; }
    QPushButton* cancelButton() const { return cancel_; }
    QPushButton* refreshButton() const { return refresh_; }
    QPushButton* okButton() const { return ok_; }

    // Closing the window (title bar, Escape) counts as Cancel.
    void reject() override;

private:
    QTableView* table_;
    Stepper* stepper_;
    QLineEdit* lengthField_;
    QPushButton* cancel_;
    QPushButton* refresh_;
    QPushButton* ok_;
};

}  // namespace brinora
