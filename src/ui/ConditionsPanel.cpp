#include "ui/ConditionsPanel.h"

#include "core/cycle/CurrentConditions.h"
#include "ui/WeatherIcons.h"

#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kWeatherPictureSize = 120;
constexpr int kTrendPictureSize = 28;

QFont scaledFont(const QFont& base, qreal factor, bool bold)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * factor);
    font.setBold(bold);
    return font;
}

QFrame* card(QWidget* parent)
{
    auto* frame = new QFrame(parent);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setBackgroundRole(QPalette::Base);
    frame->setAutoFillBackground(true);
    return frame;
}

QLabel* caption(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

}  // namespace

ConditionsPanel::ConditionsPanel(QWidget* parent) : QWidget(parent)
{
    auto* sourceRow = new QHBoxLayout;
    auto* sourceCaption = new QLabel(tr("Source:"), this);
    sources_ = new QComboBox(this);
    sources_->setObjectName("currentSourceCombo");
    sources_->setMinimumContentsLength(20);
    sourceCaption->setBuddy(sources_);
    sourceRow->addWidget(sourceCaption);
    sourceRow->addWidget(sources_);
    sourceRow->addStretch();

    trend_ = new QLabel(this);
    trend_->setObjectName("trendPicture");
    trend_->setFixedSize(kTrendPictureSize, kTrendPictureSize);

    auto* tiles = new QGridLayout;
    tiles->setSpacing(10);
    tiles->addWidget(tile(5, tr("Wind speed"), tr("knots")), 0, 0);
    tiles->addWidget(tile(6, tr("Wind from"), QString()), 0, 1);
    tiles->addWidget(tile(8, tr("Rain, last hour"), QStringLiteral("mm")), 0, 2);
    tiles->addWidget(tile(9, tr("Rain, last 24 hours"), QStringLiteral("mm")), 1, 0);
    tiles->addWidget(tile(3, tr("Temperature inside"), QStringLiteral("°C")), 1, 1);
    tiles->addWidget(tile(4, tr("Humidity inside"), QStringLiteral("%")), 1, 2);
    for (int column = 0; column < 3; ++column)
        tiles->setColumnStretch(column, 1);
    for (int row = 0; row < 2; ++row)
        tiles->setRowStretch(row, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(sourceRow);
    layout->addSpacing(4);
    layout->addWidget(outsideCard(), 3);
    layout->addSpacing(6);
    layout->addLayout(tiles, 5);
}

QLabel* ConditionsPanel::value(int label, qreal size, QWidget* parent)
{
    auto* value = new QLabel(QStringLiteral("—"), parent);
    static const char* const kNames[CurrentConditions::kLabels] = {
        "barometerValue",   "temperatureOutValue", "humidityOutValue", "temperatureInValue", "humidityInValue",
        "windSpeedValue",   "windDirectionValue",  "readTimeValue",    "rain1hValue",        "rain24hValue"};
    value->setObjectName(kNames[label]);
    value->setFont(scaledFont(font(), size, true));
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    values_[std::size_t(label)] = value;
    return value;
}

// The weather picture with the outside temperature, humidity and pressure
// (and its trend), large, and the time of the reading.
QWidget* ConditionsPanel::outsideCard()
{
    QFrame* frame = card(this);
    weather_ = new QLabel(frame);
    weather_->setObjectName("weatherPicture");
    weather_->setFixedSize(kWeatherPictureSize, kWeatherPictureSize);

    struct Measure {
        int label;
        QString caption;
        QString unit;
    };
    const Measure measured[] = {{1, tr("Temperature outside"), QStringLiteral("°C")},
                                {2, tr("Humidity outside"), QStringLiteral("%")},
                                {0, tr("Pressure"), QStringLiteral("hPa")}};
    auto* measures = new QGridLayout;
    measures->setHorizontalSpacing(48);
    for (int column = 0; column < 3; ++column) {
        const Measure& measure = measured[column];
        measures->addWidget(caption(measure.caption, frame), 0, column);
        auto* row = new QHBoxLayout;
        row->setSpacing(6);
        row->addWidget(value(measure.label, 3.2, frame));
        auto* unitLabel = new QLabel(measure.unit, frame);
        unitLabel->setFont(scaledFont(font(), 1.6, false));
        row->addWidget(unitLabel, 0, Qt::AlignBottom);
        if (measure.label == 0)
            row->addWidget(trend_, 0, Qt::AlignVCenter);
        row->addStretch();
        measures->addLayout(row, 1, column);
    }
    auto* readAt = new QHBoxLayout;
    readAt->setSpacing(8);
    readAt->addWidget(caption(tr("Read at"), frame));
    readAt->addWidget(value(7, 1.1, frame));
    readAt->addStretch();
    measures->addLayout(readAt, 2, 0, 1, 3);
    measures->setColumnStretch(3, 1);

    auto* layout = new QHBoxLayout(frame);
    layout->setContentsMargins(20, 12, 20, 12);
    layout->addWidget(weather_, 0, Qt::AlignVCenter);
    layout->addSpacing(24);
    layout->addLayout(measures, 1);
    return frame;
}

QWidget* ConditionsPanel::tile(int label, const QString& captionText, const QString& unit)
{
    QFrame* frame = card(this);
    auto* valueRow = new QHBoxLayout;
    valueRow->addWidget(value(label, 2.2, frame));
    if (!unit.isEmpty()) {
        auto* unitLabel = new QLabel(unit, frame);
        unitLabel->setFont(scaledFont(font(), 1.2, false));
        valueRow->addWidget(unitLabel, 0, Qt::AlignBottom);
    }
    valueRow->addStretch();

    auto* layout = new QVBoxLayout(frame);
    layout->addWidget(caption(captionText, frame));
    layout->addStretch();
    layout->addLayout(valueRow);
    layout->addStretch();
    return frame;
}

void ConditionsPanel::setPicture(QLabel* target, const QString& key, int size)
{
    target->setPixmap(WeatherIcons::picture(key, size, devicePixelRatioF()));
    target->setToolTip(key);
}

void ConditionsPanel::display(const CurrentConditions& conditions)
{
    for (int i = 0; i < CurrentConditions::kLabels; ++i)
        values_[std::size_t(i)]->setText(conditions.label(i));
    setPicture(trend_, conditions.trendImage(), kTrendPictureSize);
    setPicture(weather_, conditions.weatherImage(), kWeatherPictureSize);
}
