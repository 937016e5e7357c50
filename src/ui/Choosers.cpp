#include "ui/Choosers.h"

#include "core/settings/StoredColour.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QStringList>

QString qtFileFilter(const QString& filter)
{
    const QStringList parts = filter.split(u'|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QStringList patterns = parts[i + 1].split(u';', Qt::SkipEmptyParts);
        for (QString& pattern : patterns) {
            if (pattern == u"*.*")
                pattern = QStringLiteral("*");  // every file, with or without a dot
        }
        filters << QStringLiteral("%1 (%2)").arg(parts[i], patterns.join(u' '));
    }
    return filters.join(QStringLiteral(";;"));
}

QString withExtension(const QString& name, const QString& extension)
{
    if (name.isEmpty() || name.endsWith(extension, Qt::CaseInsensitive))
        return name;
    return name + extension;
}

QColor colourOf(qint32 stored)
{
    return StoredColour::toColour(stored);
}

qint32 storedColour(const QColor& colour)
{
    return StoredColour::fromRgb(colour.red(), colour.green(), colour.blue());
}

QString SystemChoosers::openFile(QWidget* parent, const QString& title, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, title, QString(), qtFileFilter(filter));
}

QString SystemChoosers::newFile(QWidget* parent, const QString& title, const QString& filter)
{
    return QFileDialog::getSaveFileName(parent, title, QString(), qtFileFilter(filter));
}

std::optional<QColor> SystemChoosers::colour(QWidget* parent, const QColor& initial)
{
    const QColor chosen = QColorDialog::getColor(initial, parent);
    if (!chosen.isValid())
        return std::nullopt;
    return chosen;
}

std::optional<QString> SystemChoosers::text(QWidget* parent, const QString& title, const QString& prompt,
                                            const QString& initial)
{
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(prompt);
    dialog.setTextValue(initial);
    // Wide enough for a source name and a quantity, the usual default; the
    // dialog's layout sizes itself from its line edit.
    if (auto* edit = dialog.findChild<QLineEdit*>())
        edit->setMinimumWidth(edit->fontMetrics().averageCharWidth() * 44);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}
