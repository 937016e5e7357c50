#include "ui/HistoryDataTab.h"

#include "ui/DataTableView.h"
#include "core/text/NumberText.h"

#include <QVBoxLayout>

void HistoryDataModel::setTable(GraphTable table)
{
    beginResetModel();
    table_ = std::move(table);
    endResetModel();
}

int HistoryDataModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(table_.rows());
}

int HistoryDataModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(table_.headers.size());
}

QVariant HistoryDataModel::data(const QModelIndex& index, int role) const
{
    const auto row = std::size_t(index.row());
    const int column = index.column();
    if (role == Qt::TextAlignmentRole && column >= 2)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::UserRole)
        return {};
    if (column == 0)
        return role == Qt::UserRole ? QVariant(table_.x[row]) : QVariant(table_.timeText(row));
    if (column == 1)
        return role == Qt::UserRole ? QVariant(table_.x[row]) : QVariant(table_.labels[row]);
    const std::optional<double>& value = table_.values[std::size_t(column - 2)][row];
    if (!value)
        return role == Qt::UserRole ? QVariant(-1e300) : QVariant();
    return role == Qt::UserRole ? QVariant(*value) : QVariant(NumberText::generalNumber(*value));
}

QVariant HistoryDataModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    return table_.headers.value(section);
}

HistoryDataTab::HistoryDataTab(Choosers& choosers, MessageBoxes& boxes, QWidget* parent) : QWidget(parent)
{
    model_ = new HistoryDataModel(this);
    table_ = new DataTableView("historyData", model_, [this] { return model_->table().toCsv(); },
                               tr("Save History Data"), choosers, boxes, this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(table_);
}

void HistoryDataTab::show(const GraphData& data)
{
    model_->setTable(tableOf(data));
}
