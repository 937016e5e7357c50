#include "core/import/ImportReader.h"

#include <QFileInfo>

QString openImportFile(QFile& file)
{
    // A folder gets a plain answer rather than whatever the system says of it.
    if (QFileInfo(file.fileName()).isDir())
        return QStringLiteral("it is a folder");
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}
