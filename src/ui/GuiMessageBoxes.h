#pragma once

#include "core/errors/MessageBoxes.h"

#include <QObject>
#include <QPointer>

class QWidget;

// Shows message boxes on the window thread, modal to `parent`. A call from
// another thread waits until the user has closed the box.
class GuiMessageBoxes final : public QObject, public MessageBoxes {
    Q_OBJECT

public:
    explicit GuiMessageBoxes(QWidget* parent = nullptr);

    void show(const QString& title, const QString& text, Icon icon) override;
    bool askOkCancel(const QString& title, const QString& text) override;
    void setParentWindow(QWidget* parent) { parent_ = parent; }

private:
    void showHere(const QString& title, const QString& text, Icon icon);

    QPointer<QWidget> parent_;
};
