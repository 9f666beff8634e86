// What the Poly Tools' controller knows of a run's refusals ahead of it.
#include "controller_fixture.h"
#include "platform/paths.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

class PolyForesightTest : public testing::PolyToolsController {
protected:
    void list(std::vector<BatchPolyMetadata> polys) { controller_->batchPolyMetadata.assign(std::move(polys)); }
    BatchPolyMetadata listed(const char* file, int channels = 2) const {
        BatchPolyMetadata poly;
        poly.url = path(file);
        poly.baseName = paths::stem(poly.url);
        poly.channelCount = channels;
        return poly;
    }
    QString whyOf(std::size_t row) const {
        return controller_->foreseenRefusals.value().value(controller_->batchPolyMetadata[row].id);
    }
};

TEST_F(PolyForesightTest, TwoPolysOfOneNameIntoOneFolder) {
    list({listed("A/take.wav"), listed("B/take.wav"), listed("B/other.wav")});
    controller_->splitOutputFolder = path("out");
    controller_->folderOrganization = FolderOrganization::flat;
    controller_->sourceFolder = folder_.path();
    controller_->foresight().foresee();
    EXPECT_EQ(controller_->foreseenRefusals.value().size(), 1);
    EXPECT_EQ(whyOf(1), QStringLiteral("Another item of this run already wrote take_ch1.wav"));
    EXPECT_EQ(controller_->batchProcessHelperText(),
              QStringLiteral("Split 3 polys → 6 ISOs (flat) · 1 will be refused: Another item of this run already "
                             "wrote take_ch1.wav"));
}

TEST_F(PolyForesightTest, AnOutputThatIsASourceOfTheRun) {
    folder_.write(QStringLiteral("z_ch1.wav"), "x");
    list({listed("z.wav"), listed("z_ch1.wav")});
    controller_->splitOutputFolder = folder_.path();
    controller_->folderOrganization = FolderOrganization::flat;
    controller_->foresight().foresee();
    EXPECT_EQ(whyOf(0), QStringLiteral("z_ch1.wav would replace a source of this run"));
    EXPECT_TRUE(whyOf(1).isEmpty());
}

TEST_F(PolyForesightTest, FollowsTheChoicesByItself) {
    list({listed("A/take.wav"), listed("B/take.wav")});
    controller_->splitOutputFolder = path("out");
    controller_->folderOrganization = FolderOrganization::flat;
    EXPECT_TRUE(testing::waitUntil([&] { return !whyOf(1).isEmpty(); }));
    controller_->folderOrganization = FolderOrganization::byScene; // only the run knows the scenes
    EXPECT_TRUE(testing::waitUntil([&] { return whyOf(1).isEmpty(); }));
    controller_->mode = PolyMode::editPoly;
    EXPECT_TRUE(testing::waitUntil([&] { return !whyOf(1).isEmpty(); }));
    EXPECT_EQ(whyOf(1), QStringLiteral("Another item of this run already wrote take.wav"));
    controller_->editPolyEditInPlace = true;
    EXPECT_TRUE(testing::waitUntil([&] { return whyOf(1).isEmpty(); }));
}

TEST_F(PolyForesightTest, GroupsOfOneNameGetPolysOfTheirOwn) {
    controller_->mode = PolyMode::join;
    std::vector<ISOGroupCandidate> groups(2);
    for (const char* side : {"A", "B"}) {
        ISOGroupCandidate& group = groups[*side == 'A' ? 0 : 1];
        group.scene = QStringLiteral("12");
        for (const char* name : {"x.wav", "y.wav"}) {
            ISOFile file;
            file.url = path(side) + u'/' + QString::fromLatin1(name);
            group.isoFiles.push_back(file);
        }
    }
    controller_->reviewedGroups.assign(groups);
    controller_->joinOutputFolder = path("out");
    controller_->foresight().foresee();
    EXPECT_TRUE(controller_->foreseenRefusals.value().isEmpty());
}

} // namespace
} // namespace ostrel
