#include "ui/SummaryTableModel.h"

void SummaryTableModel::setTable(SummaryTable table)
{
    beginResetModel();
    table_ = std::move(table);
    numeric_.assign(std::size_t(table_.headers.size()), false);
    for (const auto& row : table_.rows) {
        for (std::size_t c = 0; c < row.size() && c < numeric_.size(); ++c)
            numeric_[c] = numeric_[c] || row[c].number.has_value();
    }
    endResetModel();
}

int SummaryTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(table_.rows.size());
}

int SummaryTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(table_.headers.size());
}

QVariant SummaryTableModel::data(const QModelIndex& index, int role) const
{
    const auto& row = table_.rows[std::size_t(index.row())];
    if (std::size_t(index.column()) >= row.size())
        return {};
    const SummaryTable::Cell& cell = row[std::size_t(index.column())];
    switch (role) {
    case Qt::DisplayRole:
        return cell.text;
    case Qt::UserRole:
        if (cell.number)
            return *cell.number;
        // In a column of numbers, cells without one ("no data") sort first.
        return numeric_[std::size_t(index.column())] ? QVariant(-1e300) : QVariant(cell.text);
    case Qt::TextAlignmentRole:
        return index.column() == 0 ? int(Qt::AlignLeft | Qt::AlignVCenter) : int(Qt::AlignRight | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant SummaryTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    // "Max — Garden, Temperature Out" on three lines, to keep its column of
    // short numbers narrow enough that two pairs fit beside the chart.
    return QString(table_.headers.value(section))
        .replace(QStringLiteral(" \u2014 "), QStringLiteral("\n"))
        .replace(QStringLiteral(", "), QStringLiteral("\n"));
}
