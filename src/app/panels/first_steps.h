// What a tab is for, while it has nothing to show: one sentence, three pictures, and recordings to try it on. Lies over
// the table that will show the items.
#pragma once

#include <QLabel>
#include <QWidget>
#include <array>

class QPushButton;

namespace ostrel {

class StepPicture;

class FirstSteps : public QWidget {
    Q_OBJECT

public:
    struct Step {
        QString symbol;
        QString text;
    };
    struct Texts {
        QString sentence;
        std::array<Step, 3> steps;
    };

    FirstSteps(QWidget& host, const Texts& texts);
    void setTexts(const Texts& texts);

Q_SIGNALS:
    void demoRequested();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fit();

    QLabel* sentence_;
    std::array<StepPicture*, 3> pictures_{};
    std::array<QLabel*, 3> words_{};
    QPushButton* demo_;
};

} // namespace ostrel
