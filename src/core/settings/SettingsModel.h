#pragma once

#include "core/errors/ErrorRouting.h"
#include "core/settings/Preferences.h"

#include <QMutex>
#include <QObject>

class ErrorReporter;
class QSettings;

// The live copy of the preferences. The whole program reads them here at the
// time of use; the Preferences dialog edits them here. load fills the
// model from the settings store, save writes it back as a whole, so
// edits that are not saved stay in effect for the run only.
//
// Reads and writes are safe from any thread; changed() is emitted on the
// thread that made the change.
class SettingsModel : public QObject, public ErrorRoutingSource {
    Q_OBJECT

public:
    explicit SettingsModel(QObject* parent = nullptr);

    // Reads every key (defaults for missing ones) from `store`, in the order
    // FirstRun, axis pairs, paths, mail, interval, flags, colours. The error
    // log's default is "ErrorLog.txt" in `programFolder`. A store that cannot
    // be read is reported as "Get INI Settings Error: " and leaves the model
    // as it was; the result is then false.
    bool load(QSettings& store, const QString& programFolder, ErrorReporter& errors);
    // Writes every key to `store` and sets FirstRun to "False". On failure
    // returns false with `error` saying why; keys already written stay written.
    bool save(QSettings& store, QString& error);

    // FirstRun as it was read at load (it stays true during the run in which
    // the first save happens).
    bool firstRun() const;
    // The refresh cycle in minutes: 10 for position 0 ... 60 for position 5.
    int cycleMinutes() const;
    // The Primary database file, as currently set.
    QString primaryDatabase() const { return database(); }

    Preferences snapshot() const;
    // The error routine's part of the preferences.
    ErrorRouting errorRouting() const override;
    void replace(const Preferences& values);

    QString axisMinimum(int group) const;
    void setAxisMinimum(int group, const QString& value);
    QString axisMaximum(int group) const;
    void setAxisMaximum(int group, const QString& value);

    QString graphicFolder() const { return get(&Preferences::graphicFolder); }
    void setGraphicFolder(const QString& v) { set(&Preferences::graphicFolder, v); }
    QString database() const { return get(&Preferences::database); }
    void setDatabase(const QString& v) { set(&Preferences::database, v); }
    QString errorLog() const { return get(&Preferences::errorLog); }
    void setErrorLog(const QString& v) { set(&Preferences::errorLog, v); }
    QString errorSmtp() const { return get(&Preferences::errorSmtp); }
    void setErrorSmtp(const QString& v) { set(&Preferences::errorSmtp, v); }
    QString errorUser() const { return get(&Preferences::errorUser); }
    void setErrorUser(const QString& v) { set(&Preferences::errorUser, v); }
    QString errorPassword() const { return get(&Preferences::errorPassword); }
    void setErrorPassword(const QString& v) { set(&Preferences::errorPassword, v); }
    QString errorFrom() const { return get(&Preferences::errorFrom); }
    void setErrorFrom(const QString& v) { set(&Preferences::errorFrom, v); }
    QString errorTo() const { return get(&Preferences::errorTo); }
    void setErrorTo(const QString& v) { set(&Preferences::errorTo, v); }
    QString rssFile() const { return get(&Preferences::rssFile); }
    void setRssFile(const QString& v) { set(&Preferences::rssFile, v); }

    int intervalPosition() const { return get(&Preferences::intervalPosition); }
    void setIntervalPosition(int position) { set(&Preferences::intervalPosition, position); }
    bool autoRefresh() const { return get(&Preferences::autoRefresh); }
    void setAutoRefresh(bool on) { set(&Preferences::autoRefresh, on); }
    bool autoGraph() const { return get(&Preferences::autoGraph); }
    void setAutoGraph(bool on) { set(&Preferences::autoGraph, on); }
    bool autoExport() const { return get(&Preferences::autoExport); }
    void setAutoExport(bool on) { set(&Preferences::autoExport, on); }
    bool autoPicture() const { return get(&Preferences::autoPicture); }
    void setAutoPicture(bool on) { set(&Preferences::autoPicture, on); }
    bool autoDatabase() const { return get(&Preferences::autoDatabase); }
    void setAutoDatabase(bool on) { set(&Preferences::autoDatabase, on); }
    bool unattended() const { return get(&Preferences::unattended); }
    void setUnattended(bool on) { set(&Preferences::unattended, on); }
    bool errorMail() const { return get(&Preferences::errorMail); }
    void setErrorMail(bool on) { set(&Preferences::errorMail, on); }

    qint32 fontColour() const { return get(&Preferences::fontColour); }
    void setFontColour(qint32 v) { set(&Preferences::fontColour, v); }
    qint32 backColour() const { return get(&Preferences::backColour); }
    void setBackColour(qint32 v) { set(&Preferences::backColour, v); }
    qint32 fontColourExport() const { return get(&Preferences::fontColourExport); }
    void setFontColourExport(qint32 v) { set(&Preferences::fontColourExport, v); }
    qint32 backColourExport() const { return get(&Preferences::backColourExport); }
    void setBackColourExport(qint32 v) { set(&Preferences::backColourExport, v); }

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
