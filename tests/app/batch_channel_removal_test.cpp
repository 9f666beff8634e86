// The dialog that sets removal and new names for all polys of a batch.
#include "app/poly/edit/batch_channel_removal_config_view.h"

#include "poly_edit_test.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class BatchChannelRemovalTest : public PolyEditTest {
protected:
    // Three polys, the widest with 16 tracks.
    void openDialog() {
        open();
        load({polys_});
        chooseOutput();
        clickEdit("Configure…");
        ASSERT_NE(dialog(), nullptr);
        ASSERT_TRUE(dialog()->isVisible());
    }
    BatchChannelRemovalConfigView* dialog() { return view().configDialog(); }
    QAbstractButton& apply() { return *find<QAbstractButton>(*dialog(), QStringLiteral("Apply & Close")); }
    QString summary() {
        settle();
        return dialog()->summary().join(u'|');
    }
    void clickDialog(const char* name) { clickIn(*dialog(), QString::fromUtf8(name)); }
};

TEST_F(BatchChannelRemovalTest, OffersNothingToApplyUntilAnOptionIsOn) {
    openDialog();
    EXPECT_FALSE(apply().isEnabled());
    EXPECT_EQ(apply().toolTip(), QStringLiteral("Enable at least one option to proceed"));
    EXPECT_EQ(summary(), QStringLiteral("Enable at least one option above"));
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Enable at least one option above")));
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Remove unwanted channels from all poly files and rebuild")));
    clickDialog("Enable Channel Removal");
    EXPECT_TRUE(apply().isEnabled());
    clickDialog("Enable Channel Removal");
    clickDialog("Enable Batch Rename Channels");
    EXPECT_TRUE(apply().isEnabled());
}

TEST_F(BatchChannelRemovalTest, SumsUpWhatItWillDo) {
    openDialog();
    clickDialog("Enable Channel Removal");
    typeInto(*dialog(), "Channel numbers to remove", "1-3, 5");
    EXPECT_EQ(summary(), QStringLiteral("Will remove channels: 1, 2, 3, 5"));
    clickDialog("Remove by Name");
    EXPECT_EQ(summary(), QString()) << "no name is there yet";
    EXPECT_TRUE(says(*dialog(), QStringLiteral("💡 Enter 'Mix' to remove all mix tracks, 'Lav' for lavs, etc.")));
    clickDialog("Preset Mix");
    EXPECT_EQ(summary(), QStringLiteral("Will remove tracks containing 'Mix'"));
    clickDialog("Enable Batch Rename Channels");
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Rename channels in the rebuilt poly (after removal)")));
    EXPECT_TRUE(says(*dialog(), QStringLiteral("💡 Enter new names for channels. Leave blank to keep original names.")));
    typeNames(dialog()->renameSection().table(), {QStringLiteral("One"), QStringLiteral("Two")});
    EXPECT_EQ(summary(), QStringLiteral("Will remove tracks containing 'Mix'|Will rename 2 channels"));
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Will remove tracks containing 'Mix'\nWill rename 2 channels")));
}

TEST_F(BatchChannelRemovalTest, NothingCountsUntilItIsApplied) {
    openDialog();
    clickDialog("Enable Channel Removal");
    typeInto(*dialog(), "Channel numbers to remove", "2");
    EXPECT_FALSE(polyTools_.edit().hasAdvancedConfig());
    clickDialog("Cancel");
    settle();
    EXPECT_FALSE(polyTools_.edit().hasAdvancedConfig());
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Removal"))->isChecked());
}

TEST_F(BatchChannelRemovalTest, AppliedItIsShownAndRunOverTheWholeBatch) {
    openDialog();
    clickDialog("Enable Channel Removal");
    typeInto(*dialog(), "Channel numbers to remove", "1");
    clickDialog("Enable Batch Rename Channels");
    typeNames(dialog()->renameSection().table(), {QStringLiteral("First")});
    clickDialog("Apply & Close");
    EXPECT_TRUE(dialog() == nullptr || !dialog()->isVisible());
    EXPECT_EQ(polyTools_.channelRemovalFilter.value()->selectedChannelIndices, std::set{1});
    EXPECT_EQ(polyTools_.channelRemovalRenameMap.value(), (RenameMap{{1, QStringLiteral("First")}}));
    EXPECT_EQ(find<QLineEdit>(view(), QStringLiteral("Channel numbers to remove"))->text(), QStringLiteral("1"));
    const QStringList before = fingerprint(polys_);
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (std::vector{2, 3, 4}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("First|Lav Ben|Plant"));
    EXPECT_EQ(trackNames(out("7C-T01.wav")).first(), QStringLiteral("First"));
    EXPECT_EQ(channelsOf(out("Concert-T02.wav"), poly("Concert-T02.wav")).size(), 15U);
    EXPECT_EQ(fingerprint(polys_), before);
}

TEST_F(BatchChannelRemovalTest, StartsWithWhatIsSetAndClearAllTakesItBack) {
    open();
    load({polys_});
    clickEdit("Enable Channel Reorder");
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "2-3");
    clickEdit("Configure…");
    EXPECT_EQ(find<QLineEdit>(*dialog(), QStringLiteral("Channel numbers to remove"))->text(), QStringLiteral("2-3"));
    clickDialog("Clear All");
    EXPECT_FALSE(apply().isEnabled());
    EXPECT_FALSE(polyTools_.channelRemovalFilter.value());
    EXPECT_TRUE(polyTools_.channelReorderMap.value()) << "the order is not the dialog's";
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Removal"))->isChecked());
}

TEST_F(BatchChannelRemovalTest, InPlaceItSetsNamesOnly) {
    open();
    load({polys_});
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "2");
    clickEdit("Edit in place (metadata only — rename via bwfmetaedit)");
    clickEdit("Configure…");
    EXPECT_FALSE(apply().isEnabled()) << "a removal does not count here";
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Channel removal requires rebuild — switch to \"Save to output folder\" "
                                               "mode")));
    clickDialog("Enable Batch Rename Channels");
    EXPECT_TRUE(says(*dialog(), QStringLiteral("Edit iXML track names in the original poly files (metadata only, no "
                                               "re-encoding)")));
    typeNames(dialog()->renameSection().table(), {QStringLiteral("A")});
    EXPECT_EQ(summary(), QStringLiteral("Will rename 1 channel|Will edit iXML metadata only (no re-encoding)"));
    clickDialog("Apply & Close");
    EXPECT_EQ(polyTools_.channelRemovalRenameMap.value(), (RenameMap{{1, QStringLiteral("A")}}));
    EXPECT_FALSE(polyTools_.channelRemovalFilter.value());
}

TEST_F(BatchChannelRemovalTest, SectionsFold) {
    openDialog();
    auto* header = find<QAbstractButton>(*dialog(), QStringLiteral("Channel Removal"));
    EXPECT_EQ(header->toolTip(), QStringLiteral("Click to expand options"));
    clickDialog("Channel Removal");
    EXPECT_EQ(header->toolTip(), QStringLiteral("Click to collapse options"));
    EXPECT_TRUE(find<QLineEdit>(*dialog(), QStringLiteral("Channel numbers to remove"))->isVisible());
    EXPECT_FALSE(find<QLineEdit>(*dialog(), QStringLiteral("Channel numbers to remove"))->isEnabled());
}

TEST_F(BatchChannelRemovalTest, IsForABatch) {
    open();
    load({poly("12AT3.wav")});
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Configure…"))->isEnabled());
}

} // namespace
} // namespace ostrel::testing
