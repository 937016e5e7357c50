#pragma once

#include "core/db/DayDiary.h"

#include <QDate>
#include <QDialog>

#include <array>

class DatabaseService;
class QCheckBox;
class QDateEdit;
class QPlainTextEdit;
class QPushButton;
class SettingsModel;

// The day diary: one entry per calendar day, a commentary and four events,
// kept in the Primary database's DayDiary table.
//
// The Save button's enabled state is the dialog's only "unsaved" mark: any
// edit enables it, a successful save or a newly shown day disables it.
// Going to another day (the day buttons, the date picker) and Close (the
// button, the window's close box or Escape) ask first when something is
// unsaved. Reading and saving run on the
// worker thread; a failed save is reported by the diary ("Database Error: ")
// and leaves the Save button enabled.
class DayDiaryDialog final : public QDialog {
    Q_OBJECT

public:
    DayDiaryDialog(const SettingsModel& settings, DatabaseService& database, QWidget* parent = nullptr);

    // Shows `day`'s entry (read from the database when it comes back).
    void showDay(const QDate& day);
    QDate day() const;
    // The entry as the form holds it.
    DiaryEntry entry() const;
    bool hasUnsavedChanges() const;

    void reject() override;

signals:
    // A read or a save the dialog asked for has come back.
    void databaseWorkDone();

private:
    // The picker shows another day: leaves the day shown, when nothing
    // unsaved stands in the way, and reads the new one.
    void dayChosen(const QDate& day);
    void loadEntry();
    void saveEntry();
    void clearEntry();
    void showEntry(const DiaryEntry& entry);
    void edited();

    const SettingsModel& settings_;
    DatabaseService& database_;
    QDateEdit* date_ = nullptr;
    QPlainTextEdit* details_ = nullptr;
    std::array<QCheckBox*, 4> events_{};  // rain, storm, hail, frost
    QPushButton* save_ = nullptr;
    bool filling_ = false;
    unsigned loadGeneration_ = 0;  // which read the form waits for
    QDate shownDay_;               // the day whose entry the form holds
};
