#pragma once

#include "core/cycle/RefreshCycle.h"

#include <QObject>
#include <QPointer>

class QAction;
class QMenu;
class QSystemTrayIcon;

// The program's icon in the desktop's notification area, with its own
// popup menu. Knows nothing of weather: it reports the user's choices by the
// menu item's key (for a check item, after the item has changed its check
// mark), and a double click.
//
// The menu exists even where the desktop has no notification area; the
// icon is then never shown (available() is false).
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    explicit TrayIcon(QObject* parent = nullptr);
    ~TrayIcon() override;

    static bool available();
    void show();
    void hide();

    enum class ItemKind { Plain, Default, Check };
    // A caption "-" makes a separator. The default item is shown in bold; a
    // check item changes its check mark when chosen. Named key + "TrayAction".
    QAction* addMenuItem(const QString& caption, const QString& key, ItemKind kind = ItemKind::Plain);
    bool getMenuChecked(const QString& key) const;
    void setMenuChecked(const QString& key, bool checked);
    QMenu* menu() const { return menu_; }
    QSystemTrayIcon* icon() const { return icon_; }

    void setToolTip(const QString& text);
    void setState(TrayState state);
    TrayState state() const { return state_; }

signals:
    void menuClicked(const QString& key);
    void doubleClicked();

private:
    QAction* itemFor(const QString& key) const;

    QMenu* menu_;
    QSystemTrayIcon* icon_;
    TrayState state_ = TrayState::Idle;
};
