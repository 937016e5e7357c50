#include "ui/ImportDialog.h"

#include "core/cycle/DatabaseService.h"
#include "core/errors/MessageBoxes.h"
#include "core/import/PageTextReader.h"
#include "core/import/StationHistoryReader.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"

#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

// The page import's own message, shown alone in a critical box.
const QString kDateUnreadable = QStringLiteral("Date unable to be read");

// The whole import, on the worker: the file opened, read and stored, with
// the counts sent to `dialog` as they grow.
ImportOutcome runImport(const ImportRequest& request, bool everyRecord, const Environment& environment,
                        const std::shared_ptr<std::atomic<bool>>& cancel, QPointer<ImportDialog> dialog,
                        const std::function<void(const ImportCounts&, double)>& report)
{
    ImportOutcome failed;
    QFile file(request.file);
    if (const QString unreadable = openImportFile(file); !unreadable.isEmpty()) {
        failed.problem = request.file + ": " + unreadable;
        return failed;
    }
    std::unique_ptr<ImportReader> reader;
    const PageTextReader* pages = nullptr;
    if (request.kind == ImportRequest::Kind::Pages) {
        auto pageReader = std::make_unique<PageTextReader>(file, environment.clock.now().date());
        pages = pageReader.get();
        reader = std::move(pageReader);
    } else {
        QString error;
        if (!StationHistoryReader::inspect(file, environment.clock.now(), error)) {
            failed.problem = request.file + ": " + error;
            return failed;
        }
        reader = std::make_unique<StationHistoryReader>(file, environment.clock.now(),
                                                        everyRecord ? 0 : request.cycleMinutes);
    }
    const BusyScope busy(environment.busy);
    ImportOutcome outcome = HistoryImport::run(
        *reader, request.database, request.sourceID, environment, [&](const ImportCounts& counts, double done) {
            if (dialog)
                report(counts, done);
            return !cancel->load();
        });
    if (pages && pages->dateNotFound())
        outcome.problem = kDateUnreadable;
    return outcome;
}

}  // namespace

ImportDialog::ImportDialog(ImportRequest request, DatabaseService& service, const Environment& environment,
                           QWidget* parent)
    : QDialog(parent), request_(std::move(request)), service_(service), environment_(environment)
{
    setObjectName("importDialog");
    setWindowTitle(tr("Data Import"));
    about_ = new QLabel(this);
    about_->setObjectName("importAboutLabel");
    about_->setWordWrap(true);
    everyRecord_ = new QRadioButton(tr("Every record"), this);
    everyRecord_->setObjectName("importEveryRecordRadio");
    perCycle_ = new QRadioButton(tr("One per log cycle (%1 minutes)").arg(request_.cycleMinutes), this);
    perCycle_->setObjectName("importPerCycleRadio");
    perCycle_->setChecked(true);
    bar_ = new QProgressBar(this);
    bar_->setObjectName("importProgress");
    bar_->setRange(0, 1000);
    counts_ = new QLabel(this);
    counts_->setObjectName("importCountsLabel");
    start_ = new QPushButton(tr("Start"), this);
    start_->setObjectName("importStartButton");
    connect(start_, &QPushButton::clicked, this, &ImportDialog::start);
    cancelButton_ = new QPushButton(tr("Cancel"), this);
    cancelButton_->setObjectName("importCancelButton");
    connect(cancelButton_, &QPushButton::clicked, this, &ImportDialog::reject);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(start_);
    buttons->addWidget(cancelButton_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(about_);
    layout->addWidget(everyRecord_);
    layout->addWidget(perCycle_);
    layout->addWidget(bar_);
    layout->addWidget(counts_);
    layout->addLayout(buttons);
    resize(460, sizeHint().height());
}

void ImportDialog::begin()
{
    const bool history = request_.kind == ImportRequest::Kind::StationHistory;
    everyRecord_->setVisible(history);
    perCycle_->setVisible(history);
    show();
    if (!history) {
        about_->setText(tr("Importing the observations page %1").arg(QFileInfo(request_.file).fileName()));
        adjustSize();
        start();
        return;
    }
    QFile file(request_.file);
    QString error;
    std::optional<StationHistoryReader::Contents> contents;
    error = openImportFile(file);
    if (error.isEmpty())
        contents = StationHistoryReader::inspect(file, environment_.clock.now(), error);
    if (!contents) {
        ImportOutcome refused;
        refused.problem = request_.file + ": " + error;
        finish(refused);
        return;
    }
    about_->setText(tr("%1 holds %2 records from %3 to %4.")
                        .arg(QFileInfo(request_.file).fileName())
                        .arg(contents->records)
                        .arg(DateText::format(contents->first, "dd.MM.yyyy HH:mm"),
                             DateText::format(contents->last, "dd.MM.yyyy HH:mm")));
    adjustSize();
}

void ImportDialog::start()
{
    running_ = true;
    start_->setEnabled(false);
    everyRecord_->setEnabled(false);
    perCycle_->setEnabled(false);
    showCounts({}, 0);
    QPointer<ImportDialog> self(this);
    const auto report = [self](const ImportCounts& counts, double done) {
        QMetaObject::invokeMethod(
            self.data(), [self, counts, done] { if (self) self->showCounts(counts, done); }, Qt::QueuedConnection);
    };
    service_.request<ImportOutcome>(
        this,
        [request = request_, every = everyRecord_->isChecked(), &environment = environment_, cancel = cancel_, self,
         report] { return runImport(request, every, environment, cancel, self, report); },
        [this](const ImportOutcome& outcome) { finish(outcome); });
}

void ImportDialog::showCounts(const ImportCounts& counts, double done)
{
    bar_->setValue(int(done * 1000));
    counts_->setText(tr("Read %1   Stored %2   Already there %3   Bad %4")
                         .arg(counts.read)
                         .arg(counts.stored)
                         .arg(counts.duplicates)
                         .arg(counts.bad));
}

void ImportDialog::finish(const ImportOutcome& outcome)
{
    running_ = false;
    showCounts(outcome.counts, 1);
    const QString imported = QString::number(outcome.counts.stored) + " records imported";
    if (outcome.problem == kDateUnreadable)
        environment_.boxes.show(tr("Data Import"), outcome.problem, MessageBoxes::Icon::Critical);
    else if (!outcome.ok())
        environment_.boxes.show(tr("Data Import"), tr("The import stopped: ") + outcome.problem + "\r\n" + imported,
                                MessageBoxes::Icon::Exclamation);
    else if (outcome.cancelled)
        environment_.boxes.show(tr("Data Import"), tr("Import cancelled.") + "\r\n" + imported,
                                MessageBoxes::Icon::Information);
    else if (request_.kind == ImportRequest::Kind::Pages && outcome.counts.read == 0)
        environment_.boxes.show(tr("Data Import"),
                                imported + "\r\n" + tr("No observations were found in ") + request_.file,
                                MessageBoxes::Icon::Information);
    else
        environment_.boxes.show(tr("Data Import"), imported, MessageBoxes::Icon::Information);
    emit importDone(outcome);
    QDialog::reject();
}

void ImportDialog::reject()
{
    if (running_) {
        cancel_->store(true);  // stops after the batch being written
        cancelButton_->setEnabled(false);
        return;
    }
    QDialog::reject();
}
