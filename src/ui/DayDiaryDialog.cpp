#include "ui/DayDiaryDialog.h"

#include "core/cycle/DatabaseService.h"
#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"
#include "core/settings/SettingsModel.h"

#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

QPushButton* button(const QString& text, const QString& name, QWidget* parent)
{
    auto* pushButton = new QPushButton(text, parent);
    pushButton->setObjectName(name);
    pushButton->setAutoDefault(false);
    if (text.size() == 1)
        pushButton->setMaximumWidth(40);
    return pushButton;
}

}  // namespace

DayDiaryDialog::DayDiaryDialog(const SettingsModel& settings, DatabaseService& database, QWidget* parent)
    : QDialog(parent), settings_(settings), database_(database)
{
    setObjectName("dayDiaryDialog");
    setWindowTitle(tr("Day Diary"));

    date_ = new QDateEdit(this);
    date_->setObjectName("diaryDatePicker");
    date_->setCalendarPopup(true);
    date_->setDisplayFormat("dd-MMM-yyyy");
    date_->setKeyboardTracking(false);  // a day typed counts once it is typed whole
    connect(date_, &QDateEdit::dateChanged, this, &DayDiaryDialog::dayChosen);
    QPushButton* back = button("<", "previousDayButton", this);
    back->setToolTip(tr("One day back"));
    connect(back, &QPushButton::clicked, this, [this] { date_->setDate(date_->date().addDays(-1)); });
    QPushButton* forward = button(">", "nextDayButton", this);
    forward->setToolTip(tr("One day forward"));
    connect(forward, &QPushButton::clicked, this, [this] { date_->setDate(date_->date().addDays(1)); });

    details_ = new QPlainTextEdit(this);
    details_->setObjectName("commentaryEdit");
    details_->setTabChangesFocus(true);
    connect(details_, &QPlainTextEdit::textChanged, this, &DayDiaryDialog::edited);

    auto* events = new QGroupBox(tr("Events"), this);
    auto* eventLayout = new QHBoxLayout(events);
    const char* const names[] = {"rainCheck", "stormCheck", "hailCheck", "frostCheck"};
    const QString captions[] = {tr("General Rain"), tr("Storm"), tr("Hail"), tr("Frost")};
    for (std::size_t i = 0; i < events_.size(); ++i) {
        events_[i] = new QCheckBox(captions[i], events);
        events_[i]->setObjectName(names[i]);
        connect(events_[i], &QCheckBox::clicked, this, &DayDiaryDialog::edited);
        eventLayout->addWidget(events_[i]);
    }

    save_ = button(tr("Save"), "saveButton", this);
    save_->setEnabled(false);
    connect(save_, &QPushButton::clicked, this, &DayDiaryDialog::saveEntry);
    QPushButton* close = button(tr("Close"), "closeButton", this);
    connect(close, &QPushButton::clicked, this, &DayDiaryDialog::reject);

    auto* dateRow = new QHBoxLayout;
    dateRow->addWidget(back);
    dateRow->addWidget(date_);
    dateRow->addWidget(forward);
    dateRow->addStretch();
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(save_);
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(dateRow);
    layout->addWidget(new QLabel(tr("Day Commentary"), this));
    layout->addWidget(details_);
    layout->addWidget(events);
    layout->addLayout(buttons);
    resize(460, 340);
}

void DayDiaryDialog::showDay(const QDate& day)
{
    if (date_->date() == day)
        loadEntry();
    else
        date_->setDate(day);  // loads through dayChosen
}

QDate DayDiaryDialog::day() const
{
    return date_->date();
}

DiaryEntry DayDiaryDialog::entry() const
{
    return {details_->toPlainText(), events_[0]->isChecked(), events_[1]->isChecked(), events_[2]->isChecked(),
            events_[3]->isChecked()};
}

bool DayDiaryDialog::hasUnsavedChanges() const
{
    return save_->isEnabled();
}

void DayDiaryDialog::clearEntry()
{
    showEntry(DiaryEntry{});
}

void DayDiaryDialog::showEntry(const DiaryEntry& entry)
{
    filling_ = true;
    details_->setPlainText(entry.details);
    const bool flags[] = {entry.rain, entry.storm, entry.hail, entry.frost};
    for (std::size_t i = 0; i < events_.size(); ++i)
        events_[i]->setChecked(flags[i]);
    filling_ = false;
}

void DayDiaryDialog::edited()
{
    if (!filling_)
        save_->setEnabled(true);
}

void DayDiaryDialog::dayChosen(const QDate& day)
{
    if (day == shownDay_)
        return;
    if (hasUnsavedChanges()
        && !database_.environment().boxes.askOkCancel(QApplication::applicationDisplayName(),
                                                      tr("You have not saved this entry, OK to go to another day?"))) {
        const QSignalBlocker quiet(date_);
        date_->setDate(shownDay_);  // the edited day stays
        return;
    }
    loadEntry();
}

void DayDiaryDialog::loadEntry()
{
    shownDay_ = date_->date();
    clearEntry();
    save_->setEnabled(false);
    const QString path = settings_.primaryDatabase();
    const QDate day = date_->date();
    const Environment& environment = database_.environment();
    const unsigned generation = ++loadGeneration_;
    using Loaded = mdb::Result<DiaryEntry>;
    database_.request<Loaded>(
        this,
        [path, day, &environment] {
            Loaded loaded = DayDiary::load(path, day, environment);
            if (!loaded)
                environment.errors.report("Database Error: \r\n" + QString::fromStdString(loaded.error().message));
            return loaded;
        },
        [this, generation](const Loaded& loaded) {
            // Only the last day asked for is shown, and never over new edits.
            if (generation == loadGeneration_ && !save_->isEnabled() && loaded)
                showEntry(*loaded);
            emit databaseWorkDone();
        });
}

void DayDiaryDialog::saveEntry()
{
    const QString path = settings_.primaryDatabase();
    const QDate day = date_->date();
    const DiaryEntry entry = this->entry();
    const Environment& environment = database_.environment();
    const unsigned generation = loadGeneration_;
    database_.request<bool>(
        this, [path, day, entry, &environment] { return DayDiary::save(path, day, entry, environment); },
        [this, generation, entry](const bool& saved) {
            // Saved as the form still shows it: nothing is left unsaved.
            if (saved && generation == loadGeneration_ && this->entry() == entry)
                save_->setEnabled(false);
            emit databaseWorkDone();
        });
}

void DayDiaryDialog::reject()
{
    if (hasUnsavedChanges()
        && !database_.environment().boxes.askOkCancel(QApplication::applicationDisplayName(),
                                                      tr("You have not saved this entry, OK to Close?")))
        return;
    save_->setEnabled(false);  // the edits are given up
    QDialog::reject();
}
