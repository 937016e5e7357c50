#include "core/errors/ErrorLogFile.h"

#include "core/text/DateText.h"

#include <QFile>

namespace ErrorLogFile {

QString entry(const QDateTime& when, const QString& message)
{
    return DateText::format(when, QStringLiteral("dd-MMM-yyyy HH:mm:ss ")) + message + QStringLiteral("\r\n");
}

bool append(const QString& path, const QDateTime& when, const QString& message)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    const QByteArray bytes = entry(when, message).toUtf8();
    return file.write(bytes) == bytes.size() && file.flush();
}

}  // namespace ErrorLogFile
