#pragma once

#include <QByteArray>
#include <QWidget>

#include <functional>

class Choosers;
class MessageBoxes;
class QAbstractItemModel;
class QSortFilterProxyModel;
class QTableView;

// A table of figures the user can sort (a click on a column heading, by the
// model's Qt::UserRole values, so numbers sort as numbers), select, copy
// (Ctrl+C or the context menu: the selected cells as tab-separated lines,
// as shown) and save ("Save as CSV...": the bytes `csv` gives, written
// whole or not at all; a failure is shown in a message box titled
// `saveTitle`). The model is the caller's and must outlive the table.
class DataTableView final : public QWidget {
    Q_OBJECT

public:
    // `name` names the parts for tests and style sheets: name + "Table" and
    // name + "SaveCsvButton".
    DataTableView(const QString& name, QAbstractItemModel* model, std::function<QByteArray()> csv,
                  QString saveTitle, Choosers& choosers, MessageBoxes& boxes, QWidget* parent = nullptr);

    QTableView* view() const { return view_; }
    QString selectedText() const;
    void copySelection() const;
    void saveCsv();

private:
    Choosers& choosers_;
    MessageBoxes& boxes_;
    std::function<QByteArray()> csv_;
    QString saveTitle_;
    QSortFilterProxyModel* sorted_ = nullptr;
    QTableView* view_ = nullptr;
};
