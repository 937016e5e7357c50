#include "ui/DataTableView.h"

#include "ui/Choosers.h"
#include "core/errors/MessageBoxes.h"

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

DataTableView::DataTableView(const QString& name, QAbstractItemModel* model, std::function<QByteArray()> csv,
                             QString saveTitle, Choosers& choosers, MessageBoxes& boxes, QWidget* parent)
    : QWidget(parent), choosers_(choosers), boxes_(boxes), csv_(std::move(csv)), saveTitle_(std::move(saveTitle))
{
    sorted_ = new QSortFilterProxyModel(this);
    sorted_->setSourceModel(model);
    sorted_->setSortRole(Qt::UserRole);
    view_ = new QTableView(this);
    view_->setObjectName(name + "Table");
    view_->setModel(sorted_);
    view_->setSortingEnabled(true);
    view_->sortByColumn(0, Qt::AscendingOrder);
    view_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    view_->verticalHeader()->setDefaultSectionSize(view_->fontMetrics().height() + 6);

    auto* copy = new QAction(tr("Copy"), view_);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &DataTableView::copySelection);
    view_->addAction(copy);
    view_->setContextMenuPolicy(Qt::ActionsContextMenu);

    auto* save = new QPushButton(tr("Save as CSV..."), this);
    save->setObjectName(name + "SaveCsvButton");
    connect(save, &QPushButton::clicked, this, &DataTableView::saveCsv);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(save);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    layout->addLayout(buttons);
}

QString DataTableView::selectedText() const
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

void DataTableView::copySelection() const
{
    QApplication::clipboard()->setText(selectedText());
}

void DataTableView::saveCsv()
{
    QString path = choosers_.newFile(this, saveTitle_, QStringLiteral("CSV File (*.csv)|*.csv"));
    if (path.isEmpty())
        return;
    path = withExtension(path, ".csv");
    QSaveFile file(path);
    const QByteArray csv = csv_();
    if (!file.open(QIODevice::WriteOnly) || file.write(csv) != csv.size() || !file.commit())
        boxes_.show(saveTitle_, tr("The table could not be saved:\r\n") + path + ": " + file.errorString(),
                    MessageBoxes::Icon::Exclamation);
}
