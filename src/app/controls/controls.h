// The small views that every tab is put together from.
#pragma once

#include "app/controls/theme.h"

#include <QAbstractButton>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QWidget>

class QButtonGroup;
class QDialog;
class QHBoxLayout;

namespace ostrel {

// Text in the quieter colour of the theme.
class SecondaryLabel : public QLabel {
    Q_OBJECT

public:
    explicit SecondaryLabel(const QString& text = QString(), QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColor();
};

// Text in one tone of the theme: warnings, errors.
class ToneLabel : public QLabel {
    Q_OBJECT

public:
    ToneLabel(const QString& text, ProcessingStatus::Color tone, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColor();
    ProcessingStatus::Color tone_;
};

// One line, cut in the middle; the whole text is its help.
class TruncatingText : public QWidget {
    Q_OBJECT

public:
    explicit TruncatingText(Qt::TextElideMode mode = Qt::ElideMiddle, QWidget* parent = nullptr);
    void setText(const QString& text, bool isHint = false);
    QString text() const { return text_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::TextElideMode mode_;
    QString text_;
    bool isHint_ = false;
};

// A coloured light and a tool's name.
class ToolStatusIndicator : public QWidget {
    Q_OBJECT

public:
    explicit ToolStatusIndicator(const QString& name, QWidget* parent = nullptr);
    void setAvailable(bool isAvailable);
    // A state that is not a tool's: another help text.
    void setHelp(const QString& help);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString name_;
    bool isAvailable_ = false;
};

// A warning that stays as long as its cause.
class WarningBanner : public QFrame {
    Q_OBJECT

public:
    // With a word for it, there is a button that may end the cause.
    explicit WarningBanner(const QString& text, const QString& button = QString(), QWidget* parent = nullptr);

Q_SIGNALS:
    void pressed();

protected:
    void paintEvent(QPaintEvent* event) override;
};

// A titled block of options.
class OptionSection : public QWidget {
    Q_OBJECT

public:
    explicit OptionSection(const QString& title, QWidget* parent = nullptr);
    void add(QWidget* widget);
};

// Parts two blocks.
class OptionDivider : public QFrame {
    Q_OBJECT

public:
    explicit OptionDivider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// "{count} {word}"
class StatusCounter : public QWidget {
    Q_OBJECT

public:
    StatusCounter(const QString& word, ProcessingStatus::Color color, QWidget* parent = nullptr);
    void setCount(int count);
    int count() const { return count_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString word_;
    ProcessingStatus::Color color_;
    int count_ = 0;
};

// A raised surface with a border, for what belongs together.
class Card : public QFrame {
    Q_OBJECT

public:
    explicit Card(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// A few choices side by side, one of them on. The arrow keys move between them.
class SegmentedControl : public QWidget {
    Q_OBJECT

public:
    enum class Size { normal, large };
    explicit SegmentedControl(const QString& accessibleName, Size size = Size::normal, QWidget* parent = nullptr);
    void addSegment(const QString& text, const QString& symbol = QString(), const QString& help = QString());
    void clear();
    int count() const;
    int current() const;
    void setCurrent(int index); // says nothing; out of range marks none
    QAbstractButton* segment(int index) const;

Q_SIGNALS:
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QButtonGroup* group_;
    QHBoxLayout* layout_;
    Size size_;
};

// A symbol without a frame.
class SymbolButton : public QToolButton {
    Q_OBJECT

public:
    SymbolButton(const QString& symbol, const QString& name, const QString& help, QWidget* parent = nullptr);
    void setSymbol(const QString& symbol);
};

// Tab goes from the anchor to the widget, as the eye does: one that is made later would come last of all. An anchor
// that takes no focus itself stands for what comes before it.
void putBehind(QWidget& anchor, QWidget& widget);

// What Return does anywhere in the dialog, but on another button in focus, which it presses. To be called when all of
// the dialog's buttons stand in it, and again where the meaning of Return changes.
void setDefaultButton(QDialog& dialog, QPushButton& standard);

QPushButton* pushButton(const QString& text, const QString& symbol = QString(), const QString& help = QString());

} // namespace ostrel
