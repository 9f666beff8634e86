#include "foundation/records/metadata_record.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QStringList list(const char* text) { return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts); }

TEST(MetadataRecord, OfSeveralOutputsTheWorstCounts) {
    MetadataRecord item;
    item.add({list("Description SMED TimeReference"), list("iXML"), {}, {}});
    item.add({list("Description iXML"), list("TimeReference"), list("Originator"), list("SMED")});
    EXPECT_EQ(item.kept, list("Description"));
    EXPECT_EQ(item.renewed, list("iXML TimeReference"));
    EXPECT_EQ(item.changed, list("Originator"));
    EXPECT_EQ(item.lost, list("SMED"));
    EXPECT_EQ(item.missing(), QStringLiteral("Originator, SMED"));
    EXPECT_FALSE(item.isWhole());
}

TEST(MetadataRecord, AReportSaysItInAWord) {
    EXPECT_EQ(MetadataRecord{}.word(), QString());
    EXPECT_EQ((MetadataRecord{list("Description"), {}, {}, {}}.word()), QStringLiteral("All kept"));
    EXPECT_EQ((MetadataRecord{list("SMED"), list("iXML MD5"), {}, list("axml")}.word()),
              QStringLiteral("Renewed: iXML, MD5; Lost: axml"));
}

TEST(MetadataRecord, WhatWasMeantToDifferIsNoLoss) {
    const MetadataRecord record{list("Description"), list("iXML MD5"), {}, {}};
    EXPECT_TRUE(record.isWhole());
    EXPECT_FALSE(record.isEmpty());
    EXPECT_TRUE(MetadataRecord{}.isEmpty());
}

} // namespace
} // namespace ostrel
