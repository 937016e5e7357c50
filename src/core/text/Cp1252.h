#pragma once

#include <QByteArray>
#include <QString>

// Windows-1252, the single-byte code page of the station program's files and
// of the export templates. Every byte decodes to a character (the five bytes
// the code page leaves unassigned become the control characters of the same
// number), so decoding never fails and encoding a decoded text gives back the
// same bytes.
namespace Cp1252 {

QString decode(const QByteArray& bytes);

// Characters outside the code page become "?".
QByteArray encode(const QString& text);

}  // namespace Cp1252
