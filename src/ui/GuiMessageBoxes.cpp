#include "ui/GuiMessageBoxes.h"

#include <QMessageBox>
#include <QThread>

GuiMessageBoxes::GuiMessageBoxes(QWidget* parent) : parent_(parent) {}

void GuiMessageBoxes::show(const QString& title, const QString& text, Icon icon)
{
    if (QThread::currentThread() == thread()) {
        showHere(title, text, icon);
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, title, text, icon] { showHere(title, text, icon); }, Qt::BlockingQueuedConnection);
}

bool GuiMessageBoxes::askOkCancel(const QString& title, const QString& text)
{
    bool ok = false;
    const auto ask = [this, &ok, title, text] {
        QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Ok | QMessageBox::Cancel, parent_);
        ok = box.exec() == QMessageBox::Ok;
    };
    if (QThread::currentThread() == thread())
        ask();
    else
        QMetaObject::invokeMethod(this, ask, Qt::BlockingQueuedConnection);
    return ok;
}

void GuiMessageBoxes::showHere(const QString& title, const QString& text, Icon icon)
{
    QMessageBox::Icon boxIcon = QMessageBox::Information;
    if (icon == Icon::Critical)
        boxIcon = QMessageBox::Critical;
    else if (icon == Icon::Exclamation)
        boxIcon = QMessageBox::Warning;
    QMessageBox box(boxIcon, title, text, QMessageBox::Ok, parent_);
    box.exec();
}
