#pragma once

#include <QWidget>
#include <array>

class CurrentConditions;
class QComboBox;
class QLabel;

// The current conditions tab: the chosen source (cboCurrSource), the ten
// values (lblCur(0) to lblCur(9)) in tiles with their captions and units,
// the pressure trend picture (Img(0)) and the weather picture (Img(1)).
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
