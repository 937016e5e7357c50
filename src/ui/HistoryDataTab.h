#pragma once

#include "core/graphs/GraphTable.h"

#include <QAbstractTableModel>
#include <QWidget>

class Choosers;
class DataTableView;
class MessageBoxes;

// The drawn series as a table model: the time, the reading's label and a
// column per trace. Sorting uses the numbers, not their texts.
class HistoryDataModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void setTable(GraphTable table);
    const GraphTable& table() const { return table_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    GraphTable table_;
};

// The "History Data" tab: the table of the drawn series, which the user can
// sort, select, copy and save as a CSV file.
class HistoryDataTab final : public QWidget {
    Q_OBJECT

public:
    HistoryDataTab(Choosers& choosers, MessageBoxes& boxes, QWidget* parent = nullptr);

    void show(const GraphData& data);
    DataTableView* table() const { return table_; }

private:
    HistoryDataModel* model_ = nullptr;
    DataTableView* table_ = nullptr;
};
