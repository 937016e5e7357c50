#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

QString fixturePath(const QString& name)
{
    return QDir(QStringLiteral(NIMBREL_FIXTURES_DIR)).filePath(name);
}

TempFolder::TempFolder()
{
    if (!dir_.isValid())
        ADD_FAILURE() << "cannot create a temporary folder";
}

QString TempFolder::write(const QString& name, const QByteArray& bytes) const
{
    const QString path = file(name);
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
    return path;
}

QByteArray readAll(const QString& path)
{
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly))
        return {};
    return in.readAll();
}

void RecordingErrors::ReportError(const QString& message)
{
    QMutexLocker lock(&mutex_);
    messages_ << message;
}

QStringList RecordingErrors::messages() const
{
    QMutexLocker lock(&mutex_);
    return messages_;
}

void RecordingMessageBoxes::show(const QString& title, const QString& text, Icon icon)
{
    QMutexLocker lock(&mutex_);
    boxes_.push_back({title, text, icon});
}

std::vector<RecordingMessageBoxes::Box> RecordingMessageBoxes::boxes() const
{
    QMutexLocker lock(&mutex_);
    return boxes_;
}
