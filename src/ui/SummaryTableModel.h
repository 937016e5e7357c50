#pragma once

#include "core/summaries/SummaryTable.h"

#include <QAbstractTableModel>

#include <vector>

// A summary's table as a model: each cell's text to show, and under
// Qt::UserRole its number (or, without one, its text) to sort by.
class SummaryTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void setTable(SummaryTable table);
    const SummaryTable& table() const { return table_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    SummaryTable table_;
    std::vector<bool> numeric_;  // per column: some cell holds a number
};
