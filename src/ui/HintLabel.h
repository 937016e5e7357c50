#pragma once

#include <QLabel>
#include <QPalette>

// A word-wrapped line of help under a control, in the quieter colour of
// placeholder text.
inline QLabel* hintLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}
