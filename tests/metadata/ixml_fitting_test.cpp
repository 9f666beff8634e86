#include "metadata/ixml_fitting.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

constexpr const char* kPolyDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n<IXML_VERSION>1.5</IXML_VERSION>\n<SCENE>12A</SCENE>\n"
    "<FILE_UID>OLD</FILE_UID>\n<FAMILY_UID>FAM</FAMILY_UID>\n<TRACK_LIST>\n<TRACK_COUNT>2</TRACK_COUNT>\n"
    "<TRACK><CHANNEL_INDEX>5</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Lav</NAME></TRACK>\n"
    "<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>A &amp; B</NAME></TRACK>\n"
    "</TRACK_LIST>\n</BWFXML>\n";

QStringList names(const char* text) { return QString::fromUtf8(text).split(u','); }

TEST(IxmlFitting, TracksAreNamedByTheirIndexAndNotByTheirPlace) {
    EXPECT_EQ(trackNamesOf(QString::fromUtf8(kPolyDocument), 3), names("A &amp; B,Lav,"));
    EXPECT_EQ(trackNamesOf(QStringLiteral("<TRACK><NAME>x</NAME></TRACK><TRACK><NAME>y</NAME></TRACK>"), 2),
              names("x,y"));
    EXPECT_EQ(onlyTrackName(QString::fromUtf8(kPolyDocument)), QString());
    EXPECT_EQ(onlyTrackName(QStringLiteral("<TRACK><NAME>x</NAME></TRACK>")), QStringLiteral("x"));
}

TEST(IxmlFitting, TheListTheUidAndTheParentAreTheFilesOwn) {
    const QByteArray fitted = fittedIxml(kPolyDocument, names("Boom"), {7});
    EXPECT_TRUE(fitted.contains("<TRACK_COUNT>1</TRACK_COUNT>"));
    EXPECT_TRUE(fitted.contains("<NAME>Boom</NAME>"));
    EXPECT_TRUE(fitted.contains("<CHANNEL_INDEX>7</CHANNEL_INDEX>"));
    EXPECT_FALSE(fitted.contains("<NAME>Lav</NAME>"));
    EXPECT_FALSE(fitted.contains("<FILE_UID>OLD</FILE_UID>"));
    EXPECT_TRUE(fitted.contains("<PARENT_UID>OLD</PARENT_UID>"));
    EXPECT_TRUE(fitted.contains("<FAMILY_UID>FAM</FAMILY_UID>") && fitted.contains("<SCENE>12A</SCENE>"));
}

TEST(IxmlFitting, ADocumentWithoutAListGetsOne) {
    const QByteArray fitted = fittedIxml("<BWFXML><SCENE>1</SCENE></BWFXML>", names("L,R"), {});
    EXPECT_TRUE(fitted.contains("<TRACK_COUNT>2</TRACK_COUNT>"));
    EXPECT_LT(fitted.indexOf("</TRACK_LIST>"), fitted.indexOf("</BWFXML>"));
}

TEST(IxmlFitting, Latin1IsReadWhereTheDocumentDeclaresItAndWrittenAsUtf8) {
    const QByteArray latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><BWFXML><NOTE>Caf\xE9</NOTE></BWFXML>";
    EXPECT_EQ(decodedIxml(latin1), QString::fromUtf8("<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><NOTE>"
                                                     "Caf\xC3\xA9</NOTE></BWFXML>"));
    EXPECT_TRUE(fittedIxml(latin1, names("L"), {}).contains("Caf\xC3\xA9"));
}

TEST(IxmlFitting, WhatCannotBeDecodedOrIsNoDocumentStaysAsItIs) {
    const QByteArray unknown = "<BWFXML><NOTE>Caf\xE9</NOTE></BWFXML>";
    EXPECT_EQ(decodedIxml(unknown), std::nullopt);
    EXPECT_EQ(fittedIxml(unknown, names("L"), {}), unknown);
    EXPECT_EQ(fittedIxml("<odd>", names("L"), {}), "<odd>");
}

} // namespace
} // namespace ostrel
