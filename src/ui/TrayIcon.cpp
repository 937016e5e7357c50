#include "ui/TrayIcon.h"

#include "ui/WeatherIcons.h"

#include <QMenu>
#include <QSystemTrayIcon>

TrayIcon::TrayIcon(QObject* parent) : QObject(parent), menu_(new QMenu), icon_(new QSystemTrayIcon(this))
{
    menu_->setObjectName("trayMenu");
    icon_->setContextMenu(menu_);
    icon_->setIcon(WeatherIcons::trayIcon(0));
    // A left click opens nothing, a right click the menu (the platform shows
    // the context menu), a double click the window.
    connect(icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::DoubleClick)
            emit doubleClicked();
    });
}

TrayIcon::~TrayIcon()
{
    icon_->hide();
    delete menu_;
}

bool TrayIcon::available()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayIcon::show()
{
    if (available())
        icon_->show();
}

void TrayIcon::hide()
{
    icon_->hide();
}

QAction* TrayIcon::addMenuItem(const QString& caption, const QString& key, ItemKind kind)
{
    if (caption == u"-")
        return menu_->addSeparator();
    QAction* item = menu_->addAction(caption);
    item->setData(key);
    item->setObjectName(key + "TrayAction");
    item->setCheckable(kind == ItemKind::Check);
    if (kind == ItemKind::Default) {
        QFont bold = item->font();
        bold.setBold(true);
        item->setFont(bold);
        menu_->setDefaultAction(item);
    }
    connect(item, &QAction::triggered, this, [this, key] { emit menuClicked(key); });
    return item;
}

QAction* TrayIcon::itemFor(const QString& key) const
{
    for (QAction* item : menu_->actions()) {
        if (!item->isSeparator() && item->data().toString() == key)
            return item;
    }
    return nullptr;
}

bool TrayIcon::getMenuChecked(const QString& key) const
{
    QAction* item = itemFor(key);
    return item && item->isChecked();
}

void TrayIcon::setMenuChecked(const QString& key, bool checked)
{
    if (QAction* item = itemFor(key))
        item->setChecked(checked);
}

void TrayIcon::setToolTip(const QString& text)
{
    icon_->setToolTip(text);
}

void TrayIcon::setState(TrayState state)
{
    if (state == state_)
        return;
    state_ = state;
    icon_->setIcon(WeatherIcons::trayIcon(int(state)));
}
