#pragma once

#include "settings/Preferences.h"

#include <QMutex>
#include <QObject>

class ErrorReporter;
class QSettings;

// The live copy of the preferences. The whole program reads them here at the
// time of use; the Preferences dialog edits them here. LoadSettings fills the
// model from the settings store, SaveSettings writes it back as a whole, so
// edits that are not saved stay in effect for the run only.
//
// Reads and writes are safe from any thread; changed() is emitted on the
// thread that made the change.
class SettingsModel : public QObject {
    Q_OBJECT

public:
    explicit SettingsModel(QObject* parent = nullptr);

    // Reads every key (defaults for missing ones) from `store`, in the order
    // FirstRun, axis pairs, paths, mail, interval, flags, colours. The error
    // log's default is "ErrorLog.txt" in `programFolder`. A store that cannot
    // be read is reported as "Get INI Settings Error: " and leaves the model
    // as it was; the result is then false.
    bool LoadSettings(QSettings& store, const QString& programFolder, ErrorReporter& errors);
    // Writes every key to `store` and sets FirstRun to "False". On failure
    // returns false with `error` saying why; keys already written stay written.
    bool SaveSettings(QSettings& store, QString& error);

    // FirstRun as it was read at load (it stays true during the run in which
    // the first save happens).
    bool FirstTimeRun() const;
    // The refresh cycle in minutes: 10 for position 0 ... 60 for position 5.
    int getInterval() const;
    // The Primary database file, as currently set.
    QString PrimaryDB() const { return Database(); }

    Preferences snapshot() const;
    void replace(const Preferences& values);

    QString Min(int group) const;
    void setMin(int group, const QString& value);
    QString Max(int group) const;
    void setMax(int group, const QString& value);

    QString Graphic() const { return get(&Preferences::Graphic); }
    void setGraphic(const QString& v) { set(&Preferences::Graphic, v); }
    QString Database() const { return get(&Preferences::Database); }
    void setDatabase(const QString& v) { set(&Preferences::Database, v); }
    QString ErrorLog() const { return get(&Preferences::ErrorLog); }
    void setErrorLog(const QString& v) { set(&Preferences::ErrorLog, v); }
    QString ErrorSMTP() const { return get(&Preferences::ErrorSMTP); }
    void setErrorSMTP(const QString& v) { set(&Preferences::ErrorSMTP, v); }
    QString ErrorUser() const { return get(&Preferences::ErrorUser); }
    void setErrorUser(const QString& v) { set(&Preferences::ErrorUser, v); }
    QString ErrorPass() const { return get(&Preferences::ErrorPass); }
    void setErrorPass(const QString& v) { set(&Preferences::ErrorPass, v); }
    QString ErrorFrom() const { return get(&Preferences::ErrorFrom); }
    void setErrorFrom(const QString& v) { set(&Preferences::ErrorFrom, v); }
    QString ErrorTo() const { return get(&Preferences::ErrorTo); }
    void setErrorTo(const QString& v) { set(&Preferences::ErrorTo, v); }
    QString RSSFile() const { return get(&Preferences::RSSFile); }
    void setRSSFile(const QString& v) { set(&Preferences::RSSFile, v); }

    int Interval() const { return get(&Preferences::Interval); }
    void setInterval(int position) { set(&Preferences::Interval, position); }
    int AutoRefresh() const { return get(&Preferences::AutoRefresh); }
    void setAutoRefresh(int state) { set(&Preferences::AutoRefresh, state); }
    int AutoGraph() const { return get(&Preferences::AutoGraph); }
    void setAutoGraph(int state) { set(&Preferences::AutoGraph, state); }
    int AutoExport() const { return get(&Preferences::AutoExport); }
    void setAutoExport(int state) { set(&Preferences::AutoExport, state); }
    int AutoPicture() const { return get(&Preferences::AutoPicture); }
    void setAutoPicture(int state) { set(&Preferences::AutoPicture, state); }
    int AutoDataBase() const { return get(&Preferences::AutoDataBase); }
    void setAutoDataBase(int state) { set(&Preferences::AutoDataBase, state); }
    int Unattended() const { return get(&Preferences::Unattended); }
    void setUnattended(int state) { set(&Preferences::Unattended, state); }
    int ErrorMail() const { return get(&Preferences::ErrorMail); }
    void setErrorMail(int state) { set(&Preferences::ErrorMail, state); }

    qint32 FontColour() const { return get(&Preferences::FontColour); }
    void setFontColour(qint32 v) { set(&Preferences::FontColour, v); }
    qint32 BackColour() const { return get(&Preferences::BackColour); }
    void setBackColour(qint32 v) { set(&Preferences::BackColour, v); }
    qint32 FontColourExport() const { return get(&Preferences::FontColourExport); }
    void setFontColourExport(qint32 v) { set(&Preferences::FontColourExport, v); }
    qint32 BackColourExport() const { return get(&Preferences::BackColourExport); }
    void setBackColourExport(qint32 v) { set(&Preferences::BackColourExport, v); }

signals:
    void changed();

private:
    template <typename T>
    T get(T Preferences::*field) const
    {
        QMutexLocker lock(&mutex_);
        return values_.*field;
    }
    template <typename T>
    void set(T Preferences::*field, const T& value)
    {
        {
            QMutexLocker lock(&mutex_);
            if (values_.*field == value)
                return;
            values_.*field = value;
        }
        emit changed();
    }

    mutable QMutex mutex_;
    Preferences values_;
    bool firstTimeRun_ = true;
};

// The remote client's keys, with their defaults for missing ones.
RemoteSettings loadRemoteSettings(QSettings& store);
void saveRemoteSettings(QSettings& store, const RemoteSettings& values);
