#include "ui/HistoryDataTab.h"

#include "ui/Choosers.h"
#include "core/errors/MessageBoxes.h"
#include "core/text/NumberText.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QSaveFile>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

#include <map>

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

HistoryDataTab::HistoryDataTab(Choosers& choosers, MessageBoxes& boxes, QWidget* parent)
    : QWidget(parent), choosers_(choosers), boxes_(boxes)
{
    model_ = new HistoryDataModel(this);
    sorted_ = new QSortFilterProxyModel(this);
    sorted_->setSourceModel(model_);
    sorted_->setSortRole(Qt::UserRole);
    view_ = new QTableView(this);
    view_->setObjectName("historyDataTable");
    view_->setModel(sorted_);
    view_->setSortingEnabled(true);
    view_->sortByColumn(0, Qt::AscendingOrder);
    view_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    view_->verticalHeader()->setDefaultSectionSize(view_->fontMetrics().height() + 6);

    auto* copy = new QAction(tr("Copy"), view_);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &HistoryDataTab::copySelection);
    view_->addAction(copy);
    view_->setContextMenuPolicy(Qt::ActionsContextMenu);

    auto* save = new QPushButton(tr("Save as CSV..."), this);
    save->setObjectName("saveCsvButton");
    connect(save, &QPushButton::clicked, this, &HistoryDataTab::saveCsv);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(save);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(view_);
    layout->addLayout(buttons);
}

void HistoryDataTab::show(const GraphData& data)
{
    model_->setTable(tableOf(data));
}

QString HistoryDataTab::selectedText() const
{
    std::map<int, std::map<int, QString>> cells;  // row, column: text, in view order
    for (const QModelIndex& index : view_->selectionModel()->selectedIndexes())
        cells[index.row()][index.column()] = index.data().toString();
    QStringList lines;
    for (const auto& [row, columns] : cells) {
        QStringList fields;
        for (const auto& [column, text] : columns)
            fields << text;
        lines << fields.join(u'\t');
    }
    return lines.join(u'\n');
}

void HistoryDataTab::copySelection() const
{
    QApplication::clipboard()->setText(selectedText());
}

void HistoryDataTab::saveCsv()
{
    QString path = choosers_.newFile(this, tr("Save History Data"), QStringLiteral("CSV File (*.csv)|*.csv"));
    if (path.isEmpty())
        return;
    path = withExtension(path, ".csv");
    QSaveFile file(path);
    const QByteArray csv = model_->table().toCsv();
    if (!file.open(QIODevice::WriteOnly) || file.write(csv) != csv.size() || !file.commit())
        boxes_.show(tr("Save History Data"), tr("The table could not be saved:\r\n") + path + ": " + file.errorString(),
                    MessageBoxes::Icon::Exclamation);
}
