#include "ui/StatusPanels.h"

#include "core/cycle/CurrentConditions.h"
#include "ui/WeatherIcons.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QStatusBar>

StatusPanels::StatusPanels(QStatusBar* bar) : QObject(bar), bar_(bar)
{
    bar->setObjectName("statusBar");
    QFont font = bar->font();
    font.setPointSizeF(font.pointSizeF() * 0.92);
    bar->setFont(font);
    for (const QString& key : CurrentConditions::panelKeys()) {
        if (!panels_.isEmpty()) {
            auto* line = new QFrame(bar);
            line->setFrameShape(QFrame::VLine);
            line->setFrameShadow(QFrame::Sunken);
            bar->addWidget(line);
        }
        auto* panel = new QWidget(bar);
        panel->setObjectName(key);
        auto* layout = new QHBoxLayout(panel);
        layout->setContentsMargins(4, 0, 4, 0);
        layout->setSpacing(4);
        Panel parts{new QLabel(panel), new QLabel(panel)};
        parts.text->setObjectName(key + "Text");
        layout->addWidget(parts.picture);
        layout->addWidget(parts.text);
        parts.picture->hide();
        // Normal widgets: a passing message covers them for a while.
        bar->addWidget(panel);
        panels_.insert(key, parts);
    }
}

void StatusPanels::display(const CurrentConditions& conditions)
{
    const int size = bar_->fontMetrics().height();
    for (auto it = panels_.begin(); it != panels_.end(); ++it) {
        it->text->setText(conditions.panelText(it.key()));
        const QString image = conditions.panelImage(it.key());
        it->picture->setPixmap(WeatherIcons::picture(image, size, bar_->devicePixelRatioF()));
        it->picture->setToolTip(image);
        it->picture->setVisible(!image.isEmpty());
    }
    // Never narrower than the panels' texts: a value cut short would mislead,
    // so the window keeps the width they need.
    int width = 0;
    for (QWidget* child : bar_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (child->isVisibleTo(bar_))
            width += child->sizeHint().width() + bar_->layout()->spacing();
    }
    bar_->setMinimumWidth(width + 24);  // and the size grip
}
