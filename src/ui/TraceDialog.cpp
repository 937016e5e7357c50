#include "ui/TraceDialog.h"

#include "ui/Choosers.h"
#include "core/errors/MessageBoxes.h"
#include "core/graphs/DataTypes.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

TraceDialog::TraceDialog(MessageBoxes& boxes, Choosers& choosers, QWidget* parent)
    : QDialog(parent), boxes_(boxes), choosers_(choosers)
{
    setObjectName("traceDialog");
    setWindowTitle(tr("Add New Trace"));
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);  // room for the title
    sources_ = new QComboBox(this);
    sources_->setObjectName("traceSourceCombo");
    types_ = new QComboBox(this);
    types_->setObjectName("traceTypeCombo");
    for (const DataType& type : DataTypes::all())
        types_->addItem(type.name);
    types_->setCurrentIndex(-1);
    swatch_ = new QLabel(this);
    swatch_->setObjectName("traceColourSample");
    swatch_->setAutoFillBackground(true);
    swatch_->setMinimumSize(80, 22);
    swatch_->setFrameShape(QFrame::Box);
    showNotes_ = new QCheckBox(tr("Show Notes"), this);
    showNotes_->setObjectName("showNotesCheck");
    offset_ = new QLineEdit(this);
    offset_->setObjectName("offsetEdit");
    offset_->setToolTip(tr("Days: -1 draws the day before on the same axis"));

    auto* colour = new QPushButton(tr("Colour..."), this);
    colour->setObjectName("traceColourButton");
    connect(colour, &QPushButton::clicked, this, &TraceDialog::chooseColour);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName("cancelButton");
    connect(cancel, &QPushButton::clicked, this, &TraceDialog::reject);
    auto* add = new QPushButton(tr("Add"), this);
    add->setObjectName("addButton");
    add->setDefault(true);
    connect(add, &QPushButton::clicked, this, &TraceDialog::add);

    auto* colourRow = new QHBoxLayout;
    colourRow->addWidget(swatch_);
    colourRow->addWidget(colour);
    colourRow->addStretch();
    auto* form = new QFormLayout;
    form->addRow(tr("Source"), sources_);
    form->addRow(tr("Type"), types_);
    form->addRow(tr("Colour"), colourRow);
    form->addRow(tr("Day offset"), offset_);
    form->addRow(QString(), showNotes_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(add);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
}

void TraceDialog::prepare(int traceNumber, const QList<SourceLists::ListEntry>& sources)
{
    const QVariant chosen = sources_->currentData();
    sources_->clear();
    for (const SourceLists::ListEntry& source : sources)
        sources_->addItem(source.name, source.key);
    sources_->setCurrentIndex(chosen.isValid() ? sources_->findData(chosen) : -1);
    showNotes_->setChecked(false);
    offset_->setText("0");
    trace_.reset();
    if (const std::optional<qint32> colour = defaultTraceColour(traceNumber))
        showColour(*colour);  // from the 16th on, the last colour stays
}

void TraceDialog::showColour(qint32 colour)
{
    colour_ = colour;
    QPalette palette = swatch_->palette();
    palette.setColor(QPalette::Window, colourOf(colour));
    swatch_->setPalette(palette);
}

void TraceDialog::chooseColour()
{
    if (const std::optional<QColor> chosen = choosers_.colour(this, colourOf(colour_)))
        showColour(storedColour(*chosen));
}

void TraceDialog::add()
{
    if (sources_->currentIndex() < 0) {
        boxes_.show(QApplication::applicationDisplayName(), tr("Unable to add trace without source"),
                    MessageBoxes::Icon::Information);
        sources_->setFocus();
        return;
    }
    if (types_->currentIndex() < 0) {
        boxes_.show(QApplication::applicationDisplayName(), tr("Unable to add trace without type"),
                    MessageBoxes::Icon::Information);
        types_->setFocus();
        return;
    }
    TraceEntry trace;
    trace.sourceID = sources_->currentData().toInt();
    trace.sourceName = sources_->currentText();
    trace.dataType = types_->currentIndex();
    trace.colour = colour_;
    trace.showNotes = showNotes_->isChecked();
    trace.offset = dayOffsetFromText(offset_->text());
    trace_ = trace;
    QDialog::accept();
}

void TraceDialog::reject()
{
    trace_.reset();
    QDialog::reject();
}
