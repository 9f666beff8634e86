// Whether texts can be read: their contrast as the pictures have it, and their room when the desktop's letters are
// large.
#include "app/window_test.h"

#include <QAbstractButton>
#include <QImage>
#include <QLabel>
#include <QScrollArea>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

constexpr double kLeastContrast = 4.5; // Web Content Accessibility Guidelines 2.1, level AA

struct LargeLetters {
    explicit LargeLetters(double factor) : before(QApplication::font()) {
        QFont font = before;
        font.setPointSizeF(font.pointSizeF() * factor);
        QApplication::setFont(font);
    }
    ~LargeLetters() { QApplication::setFont(before); }
    const QFont before;
};

QString textOf(const QWidget& widget) {
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) return label->text();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) return button->text();
    return QString();
}

// The contrast between the ground, which most pixels have, and the pixel that stands out most: the core of a letter.
double contrastIn(const QImage& image) {
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) ++counts[image.pixel(x, y)];
    }
    QRgb ground = 0;
    int most = 0;
    for (auto each = counts.cbegin(); each != counts.cend(); ++each) {
        if (each.value() > most) {
            most = each.value();
            ground = each.key();
        }
    }
    double best = 1;
    for (auto each = counts.cbegin(); each != counts.cend(); ++each)
        best = std::max(best, contrastRatio(QColor(ground), QColor(each.key())));
    return best;
}

class Pages : public WindowTest {
protected:
    // Every page of the window, with something in it.
    template <class Look>
    void lookAtAll(Look look) {
        window_.resize(1280, 900);
        const QString recordings = samples();
        show();
        interleaver_.select({recordings + QStringLiteral("/pairs")});
        EXPECT_TRUE(waitForInterleaver());
        for (const int mode : {0, 1}) {
            mainView_->setModeIndex(mode);
            press(Qt::Key_S);
            EXPECT_TRUE(waitForInterleaver());
            look(QStringLiteral("Interleaver %1").arg(mode));
        }
        show(AppTab::polyTools);
        for (const PolyMode mode : kAllPolyModes) {
            polyTools_.mode = mode;
            settle();
            look(rawText(mode));
        }
        show(AppTab::stereoValidator);
        look(QStringLiteral("Stereo Validator"));
    }

    // Labels and buttons with a text, as far as they are shown.
    QList<QWidget*> texts() {
        QList<QWidget*> shown;
        for (QWidget* widget : window_.findChildren<QWidget*>()) {
            if (widget->isVisible() && widget->window() == &window_ && !textOf(*widget).isEmpty()) shown << widget;
        }
        return shown;
    }
};

class Contrast : public Pages, public ::testing::WithParamInterface<Shade> {
protected:
    Contrast() { QApplication::setPalette(paletteFor(GetParam())); }
    ~Contrast() override { QApplication::setPalette(paletteFor(Shade::light)); }
};

TEST_P(Contrast, EveryTextStandsOutFromItsGround) {
    lookAtAll([this](const QString& page) {
        const QImage picture = window_.grab().toImage();
        for (const QWidget* widget : texts()) {
            if (!widget->isEnabled()) continue; // what can't be used now is exempt
            const QWidget* onTop = window_.childAt(widget->mapTo(&window_, widget->rect().center()));
            if (onTop != widget) continue; // what an empty page says lies over its table
            const QRect place(widget->mapTo(&window_, QPoint()), widget->size());
            const QRect seen = place.intersected(window_.rect());
            if (seen != place || widget->visibleRegion().boundingRect() != widget->rect()) continue;
            EXPECT_GE(contrastIn(picture.copy(seen)), kLeastContrast)
                << page.toStdString() << ": " << textOf(*widget).toStdString();
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Shades, Contrast, ::testing::Values(Shade::light, Shade::dark),
                         [](const auto& each) { return each.param == Shade::dark ? "dark" : "light"; });

class LargeLettersTest : private LargeLetters, public Pages {
protected:
    LargeLettersTest() : LargeLetters(1.5) {}
};

TEST_F(LargeLettersTest, NoTextIsCut) {
    lookAtAll([this](const QString& page) {
        for (const QWidget* widget : texts()) {
            const auto* label = qobject_cast<const QLabel*>(widget);
            const QString where = page + QStringLiteral(": ") + textOf(*widget);
            if (label && label->wordWrap()) {
                EXPECT_LE(label->heightForWidth(label->width()), label->height()) << where.toStdString();
                continue;
            }
            EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << where.toStdString();
            EXPECT_GE(widget->height(), widget->fontMetrics().height()) << where.toStdString();
        }
    });
}

} // namespace
} // namespace ostrel::testing
