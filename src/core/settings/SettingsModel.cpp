#include "core/settings/SettingsModel.h"

#include "core/errors/ErrorReporter.h"
#include "core/settings/TypedIniValues.h"
#include "core/text/NumberText.h"

#include <QDir>
#include <QSettings>
#include <cmath>

namespace {

constexpr int kIntervalPositions = 6;  // 10, 20, 30, 40, 50, 60 minutes

QString key(const char* section, const QString& name)
{
    return QLatin1String(section) + u'/' + name;
}

// A value as it was typed after "=" (see TypedIniValues), or as the store
// reads it.
QString readText(QSettings& store, const TypedIniValues& typed, const QString& key, const QString& defaultValue)
{
    if (const std::optional<QString> handTyped = typed.handTyped(key))
        return *handTyped;
    return store.value(key, defaultValue).toString();
}

// Flags, list positions and colours: the leading number of the text, 0 when none.
qint32 readNumber(QSettings& store, const TypedIniValues& typed, const QString& key, qint32 defaultValue)
{
    const double value = NumberText::leadingNumber(readText(store, typed, key, QString::number(defaultValue)));
    if (value >= 2147483647.0)
        return 2147483647;
    if (value <= -2147483648.0)
        return -2147483647 - 1;
    return qint32(std::trunc(value));
}

bool readBoolean(QSettings& store, const TypedIniValues& typed, const QString& key, bool defaultValue)
{
    const QString text = readText(store, typed, key, defaultValue ? "True" : "False").trimmed();
    if (text.compare(u"False", Qt::CaseInsensitive) == 0)
        return false;
    if (text.compare(u"True", Qt::CaseInsensitive) == 0)
        return true;
    return NumberText::leadingNumber(text) != 0;
}

// The cycle's position in the list 10 ... 60 minutes. A text that is not one
// of the positions would leave the cycle undefined: it gives 0 (10 minutes)
// and `problem` says why.
int readInterval(const QString& text, QString& problem)
{
    bool isNumber = false;
    const int position = text.trimmed().toInt(&isNumber);
    if (isNumber && position >= 0 && position < kIntervalPositions)
        return position;
    problem = QStringLiteral("Interval \"%1\" is not a position in the cycle list (0 to 5); "
                             "the cycle is 10 minutes until the preferences are saved")
                  .arg(text);
    return 0;
}

QString describeStatus(const QSettings& store)
{
    switch (store.status()) {
    case QSettings::AccessError:
        return QStringLiteral("The settings in %1 cannot be accessed").arg(store.fileName());
    case QSettings::FormatError:
        return QStringLiteral("The settings in %1 are damaged and cannot be read").arg(store.fileName());
    case QSettings::NoError:
        break;
    }
    return {};
}


// The flags in the order they are read and written, with their sections.
struct FlagField {
    const char* section;
    const char* name;
    bool Preferences::*field;
};
const FlagField kFlags[] = {
    {"Data", "AutoRefresh", &Preferences::autoRefresh},
    {"Data", "AutoGraph", &Preferences::autoGraph},
    {"Data", "AutoExport", &Preferences::autoExport},
    {"Data", "AutoPicture", &Preferences::autoPicture},
    {"Data", "AutoDataBase", &Preferences::autoDatabase},
    {"Misc", "Unattended", &Preferences::unattended},
    {"Misc", "ErrorMail", &Preferences::errorMail},
};

struct TextField {
    const char* section;
    const char* name;
    QString Preferences::*field;
};
// Paths and mail texts after the axis pairs, in the order they are read.
const TextField kTexts[] = {
    {"Data", "Graphic", &Preferences::graphicFolder},
    {"Data", "Database", &Preferences::database},
    {"Misc", "ErrorLog", &Preferences::errorLog},
    {"Misc", "ErrorSMTP", &Preferences::errorSmtp},
    {"Misc", "ErrorUser", &Preferences::errorUser},
    {"Misc", "ErrorPass", &Preferences::errorPassword},
    {"Misc", "ErrorFrom", &Preferences::errorFrom},
    {"Misc", "ErrorTo", &Preferences::errorTo},
    {"Misc", "RSSFile", &Preferences::rssFile},
};

struct ColourField {
    const char* name;
    qint32 Preferences::*field;
};
const ColourField kColours[] = {
    {"FontColour", &Preferences::fontColour},
    {"BackColour", &Preferences::backColour},
    {"FontColourExport", &Preferences::fontColourExport},
    {"BackColourExport", &Preferences::backColourExport},
};

}  // namespace

SettingsModel::SettingsModel(QObject* parent) : QObject(parent) {}

bool SettingsModel::load(QSettings& store, const QString& programFolder, ErrorReporter& errors)
{
    if (const QString problem = describeStatus(store); !problem.isEmpty()) {
        errors.report(QStringLiteral("Get INI Settings Error: \r\n") + problem);
        return false;
    }

    const TypedIniValues typed(store);
    const Preferences defaults;
    const Preferences current = snapshot();  // a missing colour keeps the one in use
    Preferences loaded;
    const bool firstRun = readBoolean(store, typed, key("Misc", "FirstRun"), true);
    for (int n = 0; n < Preferences::kScaleGroups; ++n) {
        loaded.axisMinimum[n] =
            readText(store, typed, key("Trace", QStringLiteral("Min%1").arg(n)), defaults.axisMinimum[n]);
        loaded.axisMaximum[n] =
            readText(store, typed, key("Trace", QStringLiteral("Max%1").arg(n)), defaults.axisMaximum[n]);
    }
    const QString errorLogDefault = QDir::toNativeSeparators(QDir(programFolder).filePath("ErrorLog.txt"));
    for (const TextField& text : kTexts) {
        const QString fallback = text.field == &Preferences::errorLog ? errorLogDefault : QString();
        loaded.*text.field = readText(store, typed, key(text.section, text.name), fallback);
    }

    QString intervalProblem;
    loaded.intervalPosition = readInterval(readText(store, typed, key("Data", "Interval"), "0"), intervalProblem);
    for (const FlagField& flag : kFlags)
        loaded.*flag.field = readNumber(store, typed, key(flag.section, flag.name), 0) == 1;
    for (const ColourField& colour : kColours)
        loaded.*colour.field = readNumber(store, typed, key("Colour", colour.name), current.*colour.field);

    {
        QMutexLocker lock(&mutex_);
        values_ = loaded;
        firstTimeRun_ = firstRun;
    }
    emit changed();
    if (!intervalProblem.isEmpty())
        errors.report(QStringLiteral("Get INI Settings Error: \r\n") + intervalProblem);
    return true;
}

bool SettingsModel::save(QSettings& store, QString& error)
{
    const Preferences values = snapshot();
    store.setValue(key("Misc", "FirstRun"), QStringLiteral("False"));
    for (int n = 0; n < Preferences::kScaleGroups; ++n) {
        store.setValue(key("Trace", QStringLiteral("Min%1").arg(n)), values.axisMinimum[n]);
        store.setValue(key("Trace", QStringLiteral("Max%1").arg(n)), values.axisMaximum[n]);
    }
    for (const TextField& text : kTexts)
        store.setValue(key(text.section, text.name), values.*text.field);
    store.setValue(key("Data", "Interval"), QString::number(values.intervalPosition));
    for (const FlagField& flag : kFlags)
        store.setValue(key(flag.section, flag.name), values.*flag.field ? QStringLiteral("1") : QStringLiteral("0"));
    for (const ColourField& colour : kColours)
        store.setValue(key("Colour", colour.name), QString::number(values.*colour.field));

    store.sync();
    error = describeStatus(store);
    return error.isEmpty();
}

bool SettingsModel::firstRun() const
{
    QMutexLocker lock(&mutex_);
    return firstTimeRun_;
}

int SettingsModel::cycleMinutes() const
{
    return intervalPosition() * 10 + 10;
}

Preferences SettingsModel::snapshot() const
{
    QMutexLocker lock(&mutex_);
    return values_;
}

ErrorRouting SettingsModel::errorRouting() const
{
    const Preferences values = snapshot();
    return {values.unattended, values.errorLog,  values.errorMail,  values.errorSmtp,
            values.errorFrom,  values.errorTo,   values.errorUser,  values.errorPassword};
}

void SettingsModel::replace(const Preferences& values)
{
    {
        QMutexLocker lock(&mutex_);
        if (values_ == values)
            return;
        values_ = values;
    }
    emit changed();
}

QString SettingsModel::axisMinimum(int group) const
{
    QMutexLocker lock(&mutex_);
    return values_.axisMinimum.at(group);
}

void SettingsModel::setAxisMinimum(int group, const QString& value)
{
    Preferences values = snapshot();
    values.axisMinimum.at(group) = value;
    replace(values);
}

QString SettingsModel::axisMaximum(int group) const
{
    QMutexLocker lock(&mutex_);
    return values_.axisMaximum.at(group);
}

void SettingsModel::setAxisMaximum(int group, const QString& value)
{
    Preferences values = snapshot();
    values.axisMaximum.at(group) = value;
    replace(values);
}

RemoteSettings loadRemoteSettings(QSettings& store)
{
    const TypedIniValues typed(store);
    const RemoteSettings defaults;
    RemoteSettings values;
    values.remoteAddress = readText(store, typed, key("Data", "RemoteIP"), defaults.remoteAddress);
    values.remotePort = readText(store, typed, key("Data", "RemotePort"), defaults.remotePort);
    values.localPort = readText(store, typed, key("Data", "LocalPort"), defaults.localPort);
    return values;
}

void saveRemoteSettings(QSettings& store, const RemoteSettings& values)
{
    store.setValue(key("Data", "RemoteIP"), values.remoteAddress);
    store.setValue(key("Data", "RemotePort"), values.remotePort);
    store.setValue(key("Data", "LocalPort"), values.localPort);
}
