#include "metadata/ixml_fitting.h"

#include <QSet>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

constexpr const char* kPolyDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n<IXML_VERSION>1.5</IXML_VERSION>\n<SCENE>12A</SCENE>\n"
    "<FILE_UID>OLD</FILE_UID>\n<FAMILY_UID>FAM</FAMILY_UID>\n<TRACK_LIST>\n<TRACK_COUNT>2</TRACK_COUNT>\n"
    "<TRACK><CHANNEL_INDEX>5</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Lav</NAME></TRACK>\n"
    "<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>A &amp; B</NAME>"
    "<FUNCTION>M-1.0</FUNCTION></TRACK>\n"
    "</TRACK_LIST>\n</BWFXML>\n";

std::vector<TrackIndices> tracks(const char* names) {
    std::vector<TrackIndices> result;
    for (const QString& name : QString::fromUtf8(names).split(u',')) result.push_back({0, 0, name});
    return result;
}

TEST(IxmlFitting, TracksAreFoundByTheirIndexAndNotByTheirPlace) {
    const std::vector<TrackIndices> expected{
        {1, 4, QStringLiteral("A &amp; B"), QStringLiteral("M-1.0")}, {2, 5, QStringLiteral("Lav")}, {3, 0, QString()}};
    EXPECT_EQ(tracksOf(QString::fromUtf8(kPolyDocument), 3), expected);
    const auto placed = tracksOf(QStringLiteral("<TRACK><NAME>x</NAME></TRACK><TRACK><NAME>y</NAME></TRACK>"), 2);
    EXPECT_EQ(placed.at(1), (TrackIndices{2, 0, QStringLiteral("y")}));
    EXPECT_EQ(onlyTrack(QString::fromUtf8(kPolyDocument)), std::nullopt);
    EXPECT_EQ(onlyTrack(QStringLiteral("<TRACK><NAME>x</NAME></TRACK>")), (TrackIndices{1, 0, QStringLiteral("x")}));
}

TEST(IxmlFitting, TheListTheUidAndTheParentAreTheFilesOwn) {
    const QByteArray fitted = fittedIxml(kPolyDocument, {{1, 7, QStringLiteral("Boom"), QStringLiteral("M-1.0")}},
                                         {QStringLiteral("new.wav"), QStringLiteral("old.wav"), 2, 2});
    EXPECT_TRUE(fitted.contains("<TRACK_COUNT>1</TRACK_COUNT>"));
    EXPECT_TRUE(fitted.contains("<NAME>Boom</NAME>") && fitted.contains("<FUNCTION>M-1.0</FUNCTION>"));
    EXPECT_TRUE(fitted.contains("<CHANNEL_INDEX>7</CHANNEL_INDEX>"));
    EXPECT_FALSE(fitted.contains("<NAME>Lav</NAME>"));
    EXPECT_FALSE(fitted.contains("<FILE_UID>OLD</FILE_UID>"));
    EXPECT_TRUE(fitted.contains("<PARENT_UID>OLD</PARENT_UID>"));
    EXPECT_TRUE(fitted.contains("<PARENT_FILENAME>old.wav</PARENT_FILENAME>"));
    EXPECT_TRUE(fitted.contains("<TOTAL_FILES>2</TOTAL_FILES>"));
    EXPECT_TRUE(fitted.contains("<FAMILY_UID>FAM</FAMILY_UID>") && fitted.contains("<SCENE>12A</SCENE>"));
}

TEST(IxmlFitting, ADocumentWithoutAListGetsOne) {
    const QByteArray fitted = fittedIxml("<BWFXML><SCENE>1</SCENE></BWFXML>", tracks("L,R"), {});
    EXPECT_TRUE(fitted.contains("<TRACK_COUNT>2</TRACK_COUNT>"));
    EXPECT_TRUE(fitted.contains("<CHANNEL_INDEX>2</CHANNEL_INDEX>"));
    EXPECT_LT(fitted.indexOf("</TRACK_LIST>"), fitted.indexOf("</BWFXML>"));
}

TEST(IxmlFitting, NoTwoFilesHaveOneUid) {
    QSet<QByteArray> seen;
    for (int i = 0; i < 50; ++i) {
        const QByteArray fitted = fittedIxml(kPolyDocument, tracks("L"), {});
        const qsizetype at = fitted.indexOf("<FILE_UID>");
        seen.insert(fitted.mid(at, fitted.indexOf("</FILE_UID>") - at));
    }
    EXPECT_EQ(seen.size(), 50);
}

TEST(IxmlFitting, Latin1IsReadWhereTheDocumentDeclaresItAndWrittenAsUtf8) {
    const QByteArray latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><BWFXML><NOTE>Caf\xE9</NOTE></BWFXML>";
    EXPECT_EQ(decodedIxml(latin1), QString::fromUtf8("<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><NOTE>"
                                                     "Caf\xC3\xA9</NOTE></BWFXML>"));
    EXPECT_TRUE(fittedIxml(latin1, tracks("L"), {}).contains("Caf\xC3\xA9"));
}

TEST(IxmlFitting, WhatCannotBeDecodedOrIsNoDocumentStaysAsItIs) {
    const QByteArray unknown = "<BWFXML><NOTE>Caf\xE9</NOTE></BWFXML>";
    EXPECT_EQ(decodedIxml(unknown), std::nullopt);
    EXPECT_EQ(fittedIxml(unknown, tracks("L"), {}), unknown);
    EXPECT_EQ(fittedIxml("<odd>", tracks("L"), {}), "<odd>");
}

} // namespace
} // namespace ostrel
