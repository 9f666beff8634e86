#include "app/controls/symbols.h"
#include "app/controls/theme.h"
#include "app/validator/classification_badge.h"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(Theme, EveryTextReadsOnItsSurfaceInBothShades) {
    for (const Shade shade : {Shade::light, Shade::dark}) {
        for (const Theme::TextPair& pair : theme(shade).textPairs()) {
            EXPECT_GE(contrastRatio(pair.text, pair.surface), 4.5)
                << pair.name << " " << pair.text.name().toStdString() << " on " << pair.surface.name().toStdString()
                << (shade == Shade::dark ? " in the dark" : " in the light");
        }
    }
}

// Values from the definition's own examples.
TEST(Theme, MeasuresContrastAsTheGuidelinesDo) {
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
    EXPECT_NEAR(contrastRatio(QColor(0xff, 0, 0), Qt::white), 4.0, 0.01);
}

TEST(Theme, TellsAPalettesShade) {
    EXPECT_FALSE(isDark(paletteFor(Shade::light)));
    EXPECT_TRUE(isDark(paletteFor(Shade::dark)));
    EXPECT_EQ(&themeOf(paletteFor(Shade::dark)), &theme(Shade::dark));
}

TEST(Symbols, EveryStatusHasADrawingOfItsOwnName) {
    const QStringList names = symbolNames();
    for (int kind = 0; kind <= static_cast<int>(ProcessingStatus::Kind::completedCarbonCopyCertified); ++kind) {
        const ProcessingStatus status{static_cast<ProcessingStatus::Kind>(kind)};
        EXPECT_TRUE(names.contains(status.icon())) << status.icon().toStdString();
    }
    for (const StereoClassification classification : kAllStereoClassifications) {
        EXPECT_TRUE(names.contains(badgeOf(classification).symbol));
    }
}

TEST(Symbols, StayInsideTheirSquareAndAreSeen) {
    for (const QString& name : symbolNames()) {
        QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintSymbol(painter, name, QRectF(8, 8, 48, 48), Qt::black);
        painter.end();
        int inside = 0;
        int outside = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const bool isMarked = qAlpha(image.pixel(x, y)) > 60;
                const bool isInside = x >= 8 && x < 56 && y >= 8 && y < 56;
                (isInside ? inside : outside) += isMarked;
            }
        }
        EXPECT_GT(inside, 40) << name.toStdString();
        EXPECT_EQ(outside, 0) << name.toStdString();
    }
}

TEST(ClassificationBadge, OneSidedFilesOfBothSidesShareAWordAndNotASymbol) {
    EXPECT_EQ(badgeOf(StereoClassification::oneSidedL).word, badgeOf(StereoClassification::oneSidedR).word);
    EXPECT_NE(badgeOf(StereoClassification::oneSidedL).symbol, badgeOf(StereoClassification::oneSidedR).symbol);
}

} // namespace
} // namespace ostrel
