#include "metadata/ixml/ixml_place.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QString placed(const char* document, const IxmlPlace& place) { return placedIxml(QString::fromUtf8(document), place); }
IxmlPlace secondOfThree() { return {QStringLiteral("new.wav"), QStringLiteral("A & B.wav"), 2, 3}; }

TEST(IxmlPlaceTest, TheSetAndTheParentAreSetWhereTheyStand) {
    EXPECT_EQ(placed("<BWFXML><FILE_SET>\n\t<TOTAL_FILES>1</TOTAL_FILES>\n\t<FAMILY_UID>F</FAMILY_UID>\n\t"
                     "<FILE_SET_INDEX>A</FILE_SET_INDEX>\n</FILE_SET><HISTORY><ORIGINAL_FILENAME>o</ORIGINAL_FILENAME>"
                     "<PARENT_FILENAME>p</PARENT_FILENAME><CURRENT_FILENAME>c</CURRENT_FILENAME></HISTORY></BWFXML>",
                     secondOfThree()),
              QStringLiteral("<BWFXML><FILE_SET>\n\t<TOTAL_FILES>3</TOTAL_FILES>\n\t<FAMILY_UID>F</FAMILY_UID>\n\t"
                             "<FILE_SET_INDEX>2</FILE_SET_INDEX>\n</FILE_SET><HISTORY><ORIGINAL_FILENAME>o"
                             "</ORIGINAL_FILENAME><PARENT_FILENAME>A &amp; B.wav</PARENT_FILENAME>"
                             "<CURRENT_FILENAME>new.wav</CURRENT_FILENAME></HISTORY></BWFXML>"));
}

TEST(IxmlPlaceTest, MissingGroupsAreMadeBehindTheIdentity) {
    EXPECT_EQ(placed("<BWFXML><FILE_UID>U</FILE_UID><SCENE>1</SCENE></BWFXML>",
                     IxmlPlace::alone(QStringLiteral("new.wav"), QStringLiteral("old.wav"))),
              QStringLiteral("<BWFXML><FILE_UID>U</FILE_UID>\n\t<HISTORY>\n\t\t<PARENT_FILENAME>old.wav"
                             "</PARENT_FILENAME>\n\t</HISTORY>\n\t<FILE_SET>\n\t\t<TOTAL_FILES>1</TOTAL_FILES>"
                             "\n\t\t<FILE_SET_INDEX>A</FILE_SET_INDEX>\n\t</FILE_SET><SCENE>1</SCENE></BWFXML>"));
}

TEST(IxmlPlaceTest, EmptyTagsAreFilledAndNotDoubled) {
    const QString document = placed("<BWFXML><HISTORY/><FILE_SET><TOTAL_FILES/></FILE_SET></BWFXML>", secondOfThree());
    EXPECT_EQ(document.count(QStringLiteral("HISTORY>")), 2);
    EXPECT_EQ(document.count(QStringLiteral("TOTAL_FILES")), 2);
    EXPECT_TRUE(document.contains(QStringLiteral("<TOTAL_FILES>3</TOTAL_FILES>")));
}

TEST(IxmlPlaceTest, WithoutAPlaceADocumentStaysAsItIs) {
    const QString document = QStringLiteral("<BWFXML><FILE_SET><TOTAL_FILES>9</TOTAL_FILES></FILE_SET></BWFXML>");
    EXPECT_EQ(placedIxml(document, {}), document);
    EXPECT_EQ(placedIxml(QString(), secondOfThree()), QString());
    EXPECT_EQ(placedIxml(QStringLiteral("no document"), secondOfThree()), QStringLiteral("no document"));
}

} // namespace
} // namespace ostrel
