#pragma once

#include <QColor>
#include <QString>

#include <optional>

class QWidget;

// The platform's choosers a window asks the user with: files, colours and
// a line of text.
// Windows take one, so that tests can answer in the user's place.
class Choosers {
public:
    virtual ~Choosers() = default;
    // A file to open, or an empty text when the user cancelled. `filter` is
    // in the program's form: "Description|patterns;...|Description|..."
    virtual QString openFile(QWidget* parent, const QString& title, const QString& filter) = 0;
    // A file to make; as openFile.
    virtual QString newFile(QWidget* parent, const QString& title, const QString& filter) = 0;
    // A colour, or nothing when the user cancelled.
    virtual std::optional<QColor> colour(QWidget* parent, const QColor& initial) = 0;
    // A line of text, `initial` offered; nothing when the user cancelled.
    virtual std::optional<QString> text(QWidget* parent, const QString& title, const QString& prompt,
                                        const QString& initial) = 0;
};

// The platform's file and colour dialogs.
class SystemChoosers final : public Choosers {
public:
    QString openFile(QWidget* parent, const QString& title, const QString& filter) override;
    QString newFile(QWidget* parent, const QString& title, const QString& filter) override;
    std::optional<QColor> colour(QWidget* parent, const QColor& initial) override;
    std::optional<QString> text(QWidget* parent, const QString& title, const QString& prompt,
                                const QString& initial) override;
};

// A filter of the program's form ("Data File|currdat.lst;*.txt|All Files|*.*")
// in Qt's form ("Data File (currdat.lst *.txt);;All Files (*)").
QString qtFileFilter(const QString& filter);

// The name with `extension` (".txt") appended, unless it ends in it already
// in any case; an empty name stays empty.
QString withExtension(const QString& name, const QString& extension);

// Colours as the settings keep them: 24-bit RGB with red in the low byte.
QColor colourOf(qint32 stored);
qint32 storedColour(const QColor& colour);
