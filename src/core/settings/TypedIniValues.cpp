#include "core/settings/TypedIniValues.h"

#include <QFile>
#include <QSettings>

TypedIniValues::TypedIniValues(const QSettings& store)
{
#ifndef Q_OS_WIN
    const bool iniFile = store.format() == QSettings::IniFormat || store.format() == QSettings::NativeFormat;
#else
    const bool iniFile = store.format() == QSettings::IniFormat;
#endif
    QFile file(store.fileName());
    if (!iniFile || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    QString section;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[') && line.endsWith(u']')) {
            section = line.mid(1, line.size() - 2).trimmed();
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0 || line.startsWith(u';') || line.startsWith(u'#'))
            continue;
        const QString name = line.left(equals).trimmed();
        const QString value = line.mid(equals + 1).trimmed();
        if (readerWouldChange(value))
            typed_.insert(section.compare(u"General", Qt::CaseInsensitive) == 0 ? name : section + u'/' + name, value);
    }
}

std::optional<QString> TypedIniValues::handTyped(const QString& key) const
{
    const auto found = typed_.find(key);
    if (found == typed_.end())
        return std::nullopt;
    return *found;
}

bool TypedIniValues::readerWouldChange(const QString& typed)
{
    // The store quotes every value it writes with ";" or "," in it.
    if (typed.size() >= 2 && typed.startsWith(u'"') && typed.endsWith(u'"'))
        return false;
    if (typed.contains(u';') || typed.contains(u','))
        return true;
    // The store doubles every backslash it writes; a single one was typed.
    QString withoutPairs = typed;
    withoutPairs.remove(QStringLiteral("\\\\"));
    return withoutPairs.contains(u'\\');
}
