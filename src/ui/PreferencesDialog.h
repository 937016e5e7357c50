#pragma once

#include "core/sources/SourceLists.h"
#include "core/sources/WeatherSource.h"

#include <QDialog>
#include <QList>
#include <QPalette>

#include <array>
#include <functional>
#include <optional>

class Choosers;
class DatabaseService;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QRadioButton;
class QSettings;
class SettingsModel;
struct Environment;

// What the Preferences dialog works with.
struct PreferencesContext {
    SettingsModel& settings;  // the live preferences the dialog edits
    QSettings& store;         // where OK saves them
    const Environment& environment;
    DatabaseService& database;  // all database work goes through it
    Choosers& choosers;
    std::function<bool()> sendTestMail;  // runs on the worker thread
};

// The Preferences dialog: every preference, the weather sources of the
// Primary database (one at a time, by number), the favourites whose pictures
// are exported, and a test mail.
//
// It edits the live settings: OK checks the axis ranges and, when they are
// sound, saves every preference; Cancel saves nothing but keeps the edits for
// the rest of the run. The dialog is made once and shown again and again;
// each showing starts from the live settings. Database work (sources,
// favourites, a new database) runs on the worker thread and shows its
// result when it comes back.
class PreferencesDialog final : public QDialog {
    Q_OBJECT

public:
    explicit PreferencesDialog(PreferencesContext context, QWidget* parent = nullptr);

    // Fills the controls from the live settings, the favourites list and the
    // source last shown (source 0 the first time, or when it is gone).
    void load();

    // The number of the source the dialog shows (its "Source No.").
    int sourceNumber() const { return sourceNumber_; }
    // Shows source `number` when the Primary database holds it; `done`
    // (if given) is called with whether it did.
    void showSource(int number, std::function<void(bool)> done = {});

    void accept() override;
    void reject() override;

signals:
    // A piece of database work the dialog asked for has come back.
    void databaseWorkDone();

private:
    QWidget* buildSourcesTab();
    QWidget* buildSourceBrowser(QWidget* page);
    QWidget* buildGraphTab();
    QWidget* buildExportsTab();
    QWidget* buildRefreshTab();
    QWidget* buildErrorLogTab();
    QLineEdit* edit(const QString& name, QWidget* parent);
    QPushButton* button(const QString& text, const QString& name, QWidget* parent);

    // Copies the controls into the live settings.
    void applyToSettings();
    // The axis ranges' check, with the trailing backslash of the picture
    // folder removed; shows "Invalid settings" and returns false when a
    // minimum is not below its maximum.
    bool validate();

    void pickInto(QLineEdit* box, const QString& title, const QString& filter, const QString& extension,
                  bool enablesSourceSave);
    void chooseColour(QLabel* sample, QPalette::ColorRole role);
    void makeNewDatabase();
    void sendTestMail();
    // "Import Data": the import file into the source shown, in its own dialog.
    void importData();

    // The Primary database box has a new file: its favourites and sources.
    void primaryDatabaseChanged();
    // Empty fields for a database without sources (logging every cycle).
    void showBlankSource();
    void showSourceFields(const WeatherSource& source, int number);
    void step(int direction);
    // Runs source work on the worker with the source's fields held until its answer.
    template <typename Result>
    void requestSourceWork(std::function<Result()> work, std::function<void(const Result&)> done);
    // What saving a source came to: its key, or the source whose name it has.
    struct SourceSaved {
        std::optional<qint32> key;
        std::optional<SourceLists::ListEntry> nameTakenBy;
    };
    void newSource();
    void saveSource();
    void setSourceNumber(int number);

    void onFlagClicked(QCheckBox* flag);
    void updatePictureFlag();
    void fillFavourites();
    void favouriteChanged(QListWidgetItem* item);
    void showFavouriteMark(qint32 key, bool exported);

    PreferencesContext context_;
    int sourceNumber_ = 0;
    int pendingSourceWork_ = 0;  // source requests not yet answered
    bool filling_ = false;

    std::array<QLineEdit*, 10> axes_{};
    QLineEdit* graphicFolder_ = nullptr;
    QLineEdit* errorLog_ = nullptr;
    QLineEdit* sourceDatabase_ = nullptr;
    QLineEdit* logMultiple_ = nullptr;
    QLineEdit* sourceFile_ = nullptr;
    QLineEdit* sourceName_ = nullptr;
    QLineEdit* importFile_ = nullptr;
    QLineEdit* exportFile_ = nullptr;
    QLineEdit* rssTemplate_ = nullptr;
    QLineEdit* smtpServer_ = nullptr;
    QLineEdit* smtpUser_ = nullptr;
    QLineEdit* smtpPassword_ = nullptr;
    QLineEdit* sender_ = nullptr;
    QLineEdit* recipients_ = nullptr;
    QLineEdit* primaryDatabase_ = nullptr;
    QLineEdit* dataId_ = nullptr;

    QCheckBox* autoRefresh_ = nullptr;   // the panel every minute
    QCheckBox* autoGraph_ = nullptr;     // the history graph every cycle
    QCheckBox* autoExport_ = nullptr;    // the feed files every cycle
    QCheckBox* autoPicture_ = nullptr;   // the graph pictures every cycle
    QCheckBox* unattended_ = nullptr;
    QCheckBox* autoDatabase_ = nullptr;  // logging every cycle
    QCheckBox* errorMail_ = nullptr;
    QComboBox* cycleMinutes_ = nullptr;
    QRadioButton* stationFile_ = nullptr;
    QRadioButton* feed_ = nullptr;
    QLabel* sourceNumberLabel_ = nullptr;
    QLabel* screenSample_ = nullptr;
    QLabel* exportSample_ = nullptr;
    QListWidget* favourites_ = nullptr;
    QWidget* sourceFrame_ = nullptr;  // the source's number, buttons and fields
    QPushButton* previousSource_ = nullptr;
    QPushButton* saveSource_ = nullptr;
};
