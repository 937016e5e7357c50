#include "ui/StatusPanels.h"

#include "core/cycle/CurrentConditions.h"
#include "ui/WeatherIcons.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QEvent>
#include <QStatusBar>

namespace {

// The panels in the order they are kept when not all fit.
const char* const kImportance[] = {"time", "tempout", "barometer", "wind", "rain", "humidout", "tempin"};

}  // namespace

StatusPanels::StatusPanels(QStatusBar* bar) : QObject(bar), bar_(bar)
{
    bar->setObjectName("statusBar");
    QFont font = bar->font();
    font.setPointSizeF(font.pointSizeF() * 0.92);
    bar->setFont(font);

    loggingProblem_ = new QLabel(bar);
    loggingProblem_->setObjectName("loggingProblemLabel");
    QFont bold = font;
    bold.setBold(true);
    loggingProblem_->setFont(bold);
    loggingProblem_->setStyleSheet("color: #c0392b");
    loggingProblem_->hide();
    // Permanent: a passing message never covers it.
    bar->addPermanentWidget(loggingProblem_);

    for (const QString& key : CurrentConditions::panelKeys()) {
        auto* panel = new QWidget(bar);
        panel->setObjectName(key);
        auto* layout = new QHBoxLayout(panel);
        layout->setContentsMargins(4, 0, 4, 0);
        layout->setSpacing(4);
        auto* line = new QFrame(panel);
        line->setFrameShape(QFrame::VLine);
        line->setFrameShadow(QFrame::Sunken);
        Panel parts{panel, line, new QLabel(panel), new QLabel(panel)};
        parts.text->setObjectName(key + "Text");
        layout->addWidget(line);
        layout->addWidget(parts.picture);
        layout->addWidget(parts.text);
        parts.picture->hide();
        // Normal widgets: a passing message covers them for a while.
        bar->addWidget(panel);
        panels_.insert(key, parts);
    }
    bar->installEventFilter(this);
    // A passing message hides the panels for a while; they are fitted again after it.
    connect(bar, &QStatusBar::messageChanged, this, [this](const QString& message) {
        if (message.isEmpty())
            fitPanels();
    });
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
    fitPanels();
}

void StatusPanels::showLoggingProblem(const QString& problem)
{
    loggingProblem_->setText(problem);
    loggingProblem_->setToolTip(problem);
    fitPanels();
}

bool StatusPanels::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == bar_ && event->type() == QEvent::Resize)
        fitPanels();
    return QObject::eventFilter(watched, event);
}

void StatusPanels::fitPanels()
{
    loggingProblem_->setVisible(!loggingProblem_->text().isEmpty());
    if (!bar_->currentMessage().isEmpty())
        return;  // the message covers the panels; they are fitted when it goes
    int room = bar_->width() - 24;  // the size grip
    if (!loggingProblem_->text().isEmpty())
        room -= loggingProblem_->sizeHint().width() + bar_->layout()->spacing();
    QStringList shown;
    for (const char* key : kImportance) {
        if (panels_[key].text->text().isEmpty() && panels_[key].picture->isHidden())
            continue;  // nothing to show: no empty panel between separators
        const int width = panels_[key].widget->sizeHint().width() + bar_->layout()->spacing();
        if (width <= room) {
            shown << key;
            room -= width;
        }
    }
    bool first = true;
    for (const QString& key : CurrentConditions::panelKeys()) {
        const Panel& panel = panels_[key];
        panel.widget->setVisible(shown.contains(key));
        panel.separator->setVisible(!first && shown.contains(key));
        first = first && !shown.contains(key);
    }
}
