#pragma once

#include <QWidget>
#include <array>

class CurrentConditions;
class QComboBox;
class QLabel;

// The current conditions tab: the chosen source (cboCurrSource), the ten
// values in tiles with their captions and units (labels named after their
// value: "barometerValue", "temperatureOutValue", ...), the pressure trend
// picture ("trendPicture") and the weather picture ("weatherPicture").
class ConditionsPanel final : public QWidget {
    Q_OBJECT

public:
    explicit ConditionsPanel(QWidget* parent = nullptr);

    QComboBox* sourceList() const { return sources_; }
    void display(const CurrentConditions& conditions);

private:
    QWidget* outsideCard();
    QWidget* tile(int label, const QString& caption, const QString& unit);
    QLabel* value(int label, qreal size, QWidget* parent);
    void setPicture(QLabel* target, const QString& key, int size);

    QComboBox* sources_ = nullptr;
    std::array<QLabel*, 10> values_{};
    QLabel* trend_ = nullptr;
    QLabel* weather_ = nullptr;
};
