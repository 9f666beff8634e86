// What a person changes in the groups before they are joined.
#include "controller_fixture.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

class JoinReview : public testing::PolyToolsController {
protected:
    // Groups "1-T1" and "1-T2" of two files each, and one file in none.
    void SetUp() override {
        PolyToolsController::SetUp();
        controller_->mode = PolyMode::join;
        std::vector<ISOGroupCandidate> groups;
        for (const char* take : {"1", "2"}) {
            ISOGroupCandidate group;
            group.scene = QStringLiteral("1");
            group.take = QString::fromLatin1(take);
            group.confidence = GroupConfidence::high;
            group.groupingMethod = GroupingMethod::metadataSceneTake;
            for (const char* track : {"a", "b"}) group.isoFiles.push_back(file(group.take, track));
            groups.push_back(group);
        }
        controller_->reviewedGroups.assign(groups);
        controller_->ungroupedFiles.assign({file(QStringLiteral("x"), "loose")});
    }
    static ISOFile file(const QString& take, const char* track) {
        ISOFile file;
        file.fileName = QStringLiteral("T%1_%2.wav").arg(take, QString::fromLatin1(track));
        file.url = QStringLiteral("/r/") + file.fileName;
        return file;
    }
    QUuid id(const char* name) const {
        for (const ISOGroupCandidate& group : controller_->reviewedGroups) {
            for (const ISOFile& file : group.isoFiles) {
                if (file.fileName == QString::fromLatin1(name)) return file.id;
            }
        }
        for (const ISOFile& file : controller_->ungroupedFiles) {
            if (file.fileName == QString::fromLatin1(name)) return file.id;
        }
        return {};
    }
    const ISOGroupCandidate& group(std::size_t row) const { return controller_->reviewedGroups[row]; }
    // "T1_a T1_b | T2_a T2_b / Tx_loose"
    QString lists() const {
        const auto namesOf = [](const std::vector<ISOFile>& files) {
            QStringList names;
            for (const ISOFile& file : files) names << file.fileName.chopped(4);
            return names.join(u' ');
        };
        QStringList groups;
        for (const ISOGroupCandidate& group : controller_->reviewedGroups) groups << namesOf(group.isoFiles);
        return groups.join(QStringLiteral(" | ")) + QStringLiteral(" / ") + namesOf(controller_->ungroupedFiles.rows());
    }
};

TEST_F(JoinReview, ADeletedGroupsFilesAreUngrouped) {
    controller_->review().deleteGroups({group(0).id});
    EXPECT_EQ(lists(), QStringLiteral("T2_a T2_b / Tx_loose T1_a T1_b"));
    EXPECT_TRUE(entry("Deleted group: 1-T1_poly (2 files ungrouped)"));
    controller_->review().deleteGroups({QUuid::createUuid()});
    EXPECT_EQ(lists(), QStringLiteral("T2_a T2_b / Tx_loose T1_a T1_b"));
}

TEST_F(JoinReview, FilesMoveBetweenGroupsAndFromTheUngroupedOnes) {
    controller_->review().moveToGroup({id("T1_b.wav"), id("Tx_loose.wav"), id("T2_a.wav")}, group(1).id);
    EXPECT_EQ(lists(), QStringLiteral("T1_a | T2_a T2_b T1_b Tx_loose / "));
    EXPECT_EQ(group(1).groupingMethod, GroupingMethod::manual);
    EXPECT_EQ(group(0).groupingMethod, GroupingMethod::metadataSceneTake);
    EXPECT_TRUE(entry("Moved 2 file(s) to group: 1-T2_poly"));
}

TEST_F(JoinReview, AGroupThatIsLeftEmptyGoes) {
    controller_->review().moveToGroup({id("T1_a.wav"), id("T1_b.wav")}, group(1).id);
    EXPECT_EQ(lists(), QStringLiteral("T2_a T2_b T1_a T1_b / Tx_loose"));
}

TEST_F(JoinReview, ANewGroupIsNamedAfterItsFirstFile) {
    const QUuid made = controller_->review().moveToNewGroup({id("T2_b.wav"), id("Tx_loose.wav")});
    EXPECT_EQ(lists(), QStringLiteral("T1_a T1_b | T2_a | T2_b Tx_loose / "));
    EXPECT_EQ(group(2).id, made);
    EXPECT_EQ(group(2).suggestedOutputName(), QStringLiteral("T2_b"));
    EXPECT_EQ(group(2).groupingMethod, GroupingMethod::manual);
    EXPECT_TRUE(controller_->review().moveToNewGroup({}).isNull());
}

TEST_F(JoinReview, FilesCanBeTakenOut) {
    controller_->review().ungroup({id("T1_a.wav"), id("Tx_loose.wav")});
    EXPECT_EQ(lists(), QStringLiteral("T1_b | T2_a T2_b / Tx_loose T1_a"));
    controller_->review().ungroup({id("Tx_loose.wav")});
    EXPECT_EQ(lists(), QStringLiteral("T1_b | T2_a T2_b / Tx_loose T1_a")) << "it is out already";
}

TEST_F(JoinReview, AMoveToAGroupThatIsGoneChangesNothing) {
    const QString before = lists();
    controller_->review().moveToGroup({id("T1_a.wav")}, QUuid::createUuid());
    controller_->review().moveToGroup({id("T1_a.wav")}, group(0).id);
    EXPECT_EQ(lists(), before);
    EXPECT_EQ(group(0).groupingMethod, GroupingMethod::metadataSceneTake);
}

} // namespace
} // namespace ostrel
