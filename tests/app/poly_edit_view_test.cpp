#include "poly_edit_test.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel::testing {
namespace {

using Order = std::vector<int>;

class EditViewTest : public PolyEditTest {
protected:
    Order order() { return polyTools_.channelReorderMap.value().value_or(Order()); }
    ChannelOrderTable& orderTable() { return view().reorderSection().table(); }
    QPoint rowCenter(int row) { return orderTable().visualRect(orderTable().model()->index(row, 3)).center(); }
    // Pressed, drawn over a way of several moves, let go.
    void drag(int from, const QPoint& to) {
        QWidget* viewport = orderTable().viewport();
        const QPoint start = rowCenter(from);
        QTest::mousePress(viewport, Qt::LeftButton, {}, start);
        for (int step = 1; step <= 4; ++step) {
            const QPoint at = start + (to - start) * step / 4;
            QMouseEvent move(QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, Qt::LeftButton, {});
            QApplication::sendEvent(viewport, &move);
        }
        EXPECT_TRUE(orderTable().isDragging());
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
        EXPECT_FALSE(orderTable().isDragging());
        settle();
    }
};

TEST_F(EditViewTest, RemovesChannelsByNumber) {
    open();
    load({poly("12AT3.wav")});
    chooseOutput();
    const QStringList before = fingerprint(polys_);
    EXPECT_FALSE(canRun()) << "nothing is to be changed";
    clickEdit("Enable Channel Removal");
    EXPECT_FALSE(canRun()) << "no channels are named";
    typeInto(view(), "Channel numbers to remove", "2, 4");
    EXPECT_TRUE(canRun());
    EXPECT_TRUE(says("channel removal → 1 new poly"));
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{1, 3}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Boom|Lav Ben"));
    EXPECT_EQ(fingerprint(polys_), before);
}

TEST_F(EditViewTest, RemovesTracksByNameWithPresets) {
    open();
    load({polys_});
    chooseOutput();
    clickEdit("Enable Channel Removal");
    clickEdit("Remove by Name");
    clickEdit("Preset Lav");
    clickEdit("Preset Mix");
    EXPECT_EQ(find<QLineEdit>(view(), QStringLiteral("Track names to remove"))->text(), QStringLiteral("Lav, Mix"));
    clickEdit("Preset Mix");
    EXPECT_EQ(polyTools_.channelRemovalFilter.value()->nameContainsFilter, QStringLiteral("Lav"));
    typeInto(view(), "Track names to remove", "lav, mix");
    EXPECT_TRUE(find<QAbstractButton>(view(), QStringLiteral("Preset Mix"))->isChecked());
    EXPECT_TRUE(says("channel removal → 3 new polys"));
    EXPECT_TRUE(says("Remove unwanted channels from all poly files and rebuild"));
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{1, 4}));
    EXPECT_EQ(trackNames(out("7C-T01.wav")).join(u'|'), QStringLiteral("Boom"));
    EXPECT_EQ(channelsOf(out("Concert-T02.wav"), poly("Concert-T02.wav")).size(), 14U);
}

TEST_F(EditViewTest, FilterTypesKeepTheirTexts) {
    open();
    load({poly("12AT3.wav")});
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1-3");
    clickEdit("Remove by Name");
    EXPECT_FALSE(polyTools_.channelRemovalFilter.value()) << "no name yet";
    typeInto(view(), "Track names to remove", " , ");
    EXPECT_FALSE(polyTools_.channelRemovalFilter.value()) << "blanks name nothing";
    clickEdit("Remove by Channel Number");
    EXPECT_EQ(polyTools_.channelRemovalFilter.value()->selectedChannelIndices, (std::set{1, 2, 3}));
    EXPECT_EQ(find<QLineEdit>(view(), QStringLiteral("Channel numbers to remove"))->text(), QStringLiteral("1-3"));
    clickEdit("Enable Channel Removal");
    EXPECT_FALSE(polyTools_.channelRemovalFilter.value());
}

TEST_F(EditViewTest, ReordersByButtonsAndKeys) {
    open();
    EXPECT_FALSE(orderTable().isVisible());
    clickEdit("Enable Channel Reorder");
    EXPECT_TRUE(says("Load poly files first to see channels"));
    load({poly("12AT3.wav")});
    chooseOutput();
    EXPECT_EQ(order(), (Order{1, 2, 3, 4})) << "made when the channels were known";
    EXPECT_FALSE(says("Load poly files first to see channels"));
    QTest::mouseClick(orderTable().viewport(), Qt::LeftButton, {}, rowCenter(3));
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Move Down"))->isEnabled());
    clickEdit("Move Up");
    clickEdit("Move Up");
    EXPECT_EQ(order(), (Order{1, 4, 2, 3}));
    EXPECT_EQ(orderTable().currentIndex().row(), 1) << "the selection goes with the channel";
    clickEdit("Move Down");
    EXPECT_EQ(order(), (Order{1, 2, 4, 3}));
    orderTable().setFocus();
    press(Qt::Key_Up, Qt::AltModifier);
    press(Qt::Key_Up, Qt::AltModifier);
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(order(), (Order{4, 1, 2, 3}));
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Move Up"))->isEnabled());
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{4, 1, 2, 3}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Plant|Boom|Lav Ann|Lav Ben"));
    clickEdit("Reset order");
    EXPECT_EQ(order(), (Order{1, 2, 3, 4}));
}

TEST_F(EditViewTest, AnEditedPolyThatIsThereIsSkippedOrReplaced) {
    open();
    load({poly("12AT3.wav")});
    chooseOutput();
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1");
    run();
    ASSERT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{2, 3, 4}));
    typeInto(view(), "Channel numbers to remove", "4");
    run();
    EXPECT_EQ(polyTools_.skipCount.value(), 1);
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{2, 3, 4}));
    clickEdit("Overwrite existing");
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{1, 2, 3}));
}

TEST_F(EditViewTest, ReordersByDragging) {
    open();
    load({poly("12AT3.wav")});
    chooseOutput();
    const QStringList before = fingerprint(polys_);
    clickEdit("Enable Channel Reorder");
    drag(0, rowCenter(2) + QPoint(0, 8));
    EXPECT_EQ(order(), (Order{2, 3, 1, 4}));
    EXPECT_EQ(orderTable().currentIndex().row(), 2);
    drag(3, rowCenter(0) - QPoint(0, 8));
    EXPECT_EQ(order(), (Order{4, 2, 3, 1}));
    drag(1, rowCenter(1) + QPoint(40, 9));
    EXPECT_EQ(order(), (Order{4, 2, 3, 1})) << "let go where it was";
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{4, 2, 3, 1}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Plant|Lav Ann|Lav Ben|Boom"));
    EXPECT_EQ(fingerprint(polys_), before);
}

TEST_F(EditViewTest, EscapeEndsADrag) {
    open();
    load({poly("12AT3.wav")});
    clickEdit("Enable Channel Reorder");
    QWidget* viewport = orderTable().viewport();
    orderTable().setFocus();
    QTest::mousePress(viewport, Qt::LeftButton, {}, rowCenter(0));
    const QPoint at = rowCenter(3);
    QMouseEvent move(QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &move);
    ASSERT_TRUE(orderTable().isDragging());
    QTest::keyClick(&orderTable(), Qt::Key_Escape);
    EXPECT_FALSE(orderTable().isDragging());
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, at);
    EXPECT_EQ(order(), (Order{1, 2, 3, 4}));
}

TEST_F(EditViewTest, RenamesAndLeavesBlankFieldsAlone) {
    open();
    load({poly("12AT3.wav")});
    chooseOutput();
    clickEdit("Enable Rename Channels");
    EXPECT_TRUE(says("Rename channels in the rebuilt poly (after removal)"));
    EXPECT_TRUE(says("Enter new names for channels. Leave blank to keep original."));
    EXPECT_FALSE(canRun());
    typeNames(view().renameSection().table(), {QStringLiteral("Boom Op & Co"), QString(), QStringLiteral("Ben <2>")});
    EXPECT_TRUE(says("track rename → 1 new poly"));
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{1, 2, 3, 4}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Boom Op & Co|Lav Ann|Ben <2>|Plant"));
}

TEST_F(EditViewTest, ANewNameStaysWithItsChannel) {
    open();
    load({poly("12AT3.wav")});
    chooseOutput();
    clickEdit("Enable Rename Channels");
    typeNames(view().renameSection().table(), {QString(), QString(), QString(), QStringLiteral("Hidden")});
    EXPECT_EQ(polyTools_.channelRemovalRenameMap.value(), (RenameMap{{4, QStringLiteral("Hidden")}}));
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1, 2");
    EXPECT_EQ(polyTools_.channelRemovalRenameMap.value(), (RenameMap{{2, QStringLiteral("Hidden")}}));
    clickEdit("Enable Channel Reorder");
    drag(3, rowCenter(0) - QPoint(0, 8));
    EXPECT_EQ(polyTools_.channelRemovalRenameMap.value(), (RenameMap{{1, QStringLiteral("Hidden")}}));
    EXPECT_TRUE(says("channel removal + channel reorder + track rename → 1 new poly"));
    run();
    EXPECT_EQ(channelsOf(out("12AT3.wav"), poly("12AT3.wav")), (Order{4, 3}));
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Hidden|Lav Ben"));
}

TEST_F(EditViewTest, InPlaceOnlyNamesAreChanged) {
    open();
    load({poly("12AT3.wav")});
    const QStringList before = fingerprint(polys_);
    const Samples samples = decodedByFfmpeg(poly("12AT3.wav"));
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1");
    clickEdit("Enable Channel Reorder");
    drag(3, rowCenter(0) - QPoint(0, 8));
    clickEdit("Edit in place (metadata only — rename via bwfmetaedit)");
    EXPECT_TRUE(says("Edits original files directly. Only metadata rename is supported in this mode (no channel "
                     "removal or reorder)."));
    EXPECT_TRUE(says("Channel removal requires rebuild — switch to \"Save to output folder\" mode"));
    EXPECT_TRUE(says("Reorder requires rebuild — will save to output folder"));
    EXPECT_FALSE(find<QLineEdit>(view(), QStringLiteral("Channel numbers to remove"))->isEnabled());
    EXPECT_FALSE(orderTable().isEnabled());
    EXPECT_FALSE(canRun()) << "neither of the two counts";
    clickEdit("Clear output folder");
    clickEdit("Enable Rename Channels");
    EXPECT_TRUE(says("Edit iXML track names in the poly files (metadata only, no re-encoding)"));
    typeNames(view().renameSection().table(), {QStringLiteral("Boom Op")});
    EXPECT_TRUE(canRun()) << "no folder is needed";
    EXPECT_TRUE(says("track rename on 1 poly (in place)"));
    run();
    EXPECT_EQ(trackNames(poly("12AT3.wav")).join(u'|'), QStringLiteral("Boom Op|Lav Ann|Lav Ben|Plant"));
    EXPECT_EQ(decodedByFfmpeg(poly("12AT3.wav")), samples);
    QStringList changed;
    for (const QString& line : fingerprint(polys_)) {
        if (!before.contains(line)) changed << line;
    }
    EXPECT_EQ(changed.size(), 1) << changed.join(u'\n').toStdString();
    EXPECT_EQ(QDir(polys_).entryList(QDir::Files).size(), 3);

    clickEdit("Save to output folder (rebuild files)");
    EXPECT_EQ(order(), (Order{4, 1, 2, 3})) << "what was set comes back";
    EXPECT_EQ(polyTools_.channelRemovalFilter.value()->selectedChannelIndices, std::set{1});
    EXPECT_FALSE(canRun()) << "now a folder is needed";
}

TEST_F(EditViewTest, ClosedSectionsWarnInPlaceToo) {
    open();
    clickEdit("Edit in place (metadata only — rename via bwfmetaedit)");
    EXPECT_TRUE(says("Channel removal requires rebuild — switch to \"Save to output folder\" mode"));
    EXPECT_TRUE(says("Reorder requires rebuild — will save to output folder"));
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Removal"))->isEnabled());
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Reorder"))->isEnabled());
    clickEdit("Save to output folder (rebuild files)");
    EXPECT_FALSE(says("Reorder requires rebuild — will save to output folder"));
}

TEST_F(EditViewTest, RunNeedsASourceAFolderAndAnEdit) {
    open();
    EXPECT_TRUE(says("Select source files to see what will be edited"));
    EXPECT_TRUE(says("Select poly files to edit — rename channels, remove tracks"));
    EXPECT_TRUE(says("(Required)"));
    EXPECT_TRUE(says("All metadata preserved (iXML, BWF, SMED)"));
    EXPECT_FALSE(canRun());
    desktop_.openPanelAnswer = {poly("12AT3.wav")};
    clickEdit("Source: Select...");
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_FALSE(says("(Required)")) << "the source's folder, unless another is chosen";
    EXPECT_FALSE(says("Select source files to see what will be edited"));
    clickEdit("Enable Channel Reorder");
    EXPECT_TRUE(canRun());
    clickEdit("Clear output folder");
    EXPECT_TRUE(says("(Required)"));
    EXPECT_FALSE(canRun());
    press(Qt::Key_R);
    EXPECT_FALSE(polyTools_.isProcessing.value());
}

TEST_F(EditViewTest, ClearEditsKeepsTheFilesAndClearAllKeepsNothing) {
    open();
    load({polys_});
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1");
    clickEdit("Enable Channel Reorder");
    clickEdit("Enable Rename Channels");
    typeNames(view().renameSection().table(), {QStringLiteral("A")});
    EXPECT_TRUE(polyTools_.edit().hasAdvancedConfig());
    clickEdit("Clear Edits");
    EXPECT_FALSE(polyTools_.edit().hasAdvancedConfig());
    EXPECT_EQ(polyTools_.batchPolyMetadata.size(), 3U);
    EXPECT_FALSE(find<QLineEdit>(view(), QStringLiteral("Channel numbers to remove"))->isVisible());
    clickEdit("Enable Channel Removal");
    EXPECT_EQ(find<QLineEdit>(view(), QStringLiteral("Channel numbers to remove"))->text(), QString());
    clickEdit("Clear All");
    EXPECT_TRUE(polyTools_.batchPolyMetadata.empty());
    EXPECT_EQ(polyTools_.splitOutputFolder.value(), QString());
    EXPECT_TRUE(
        messages(polyTools_.logEntries).contains(QStringLiteral("Cleared edit poly data - ready for new files")));
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Removal"))->isChecked());
}

TEST_F(EditViewTest, SettingsOfTheControllerAreShown) {
    open();
    load({poly("12AT3.wav")});
    ChannelFilterOptions filter;
    filter.nameContainsFilter = QStringLiteral("Lav");
    polyTools_.channelRemovalFilter = filter;
    polyTools_.channelReorderMap = Order{2, 1, 4, 3};
    polyTools_.channelRemovalRenameMap = RenameMap{{1, QStringLiteral("Tree")}};
    settle();
    EXPECT_EQ(find<QLineEdit>(view(), QStringLiteral("Track names to remove"))->text(), QStringLiteral("Lav"));
    EXPECT_EQ(orderTable().model()->index(0, 3).data().toString(), QStringLiteral("Lav Ann (removed)"));
    const auto& names = *view().renameSection().table().model();
    EXPECT_EQ(names.rowCount(), 2);
    EXPECT_EQ(names.index(0, 1).data().toString(), QStringLiteral("Boom"));
    EXPECT_EQ(names.index(0, 2).data().toString(), QStringLiteral("Tree"));
    polyTools_.channelRemovalFilter = std::nullopt;
    EXPECT_FALSE(find<QAbstractButton>(view(), QStringLiteral("Enable Channel Removal"))->isChecked());
}

TEST_F(EditViewTest, APolyOpenedToBeSplitIsEditedToo) {
    show(AppTab::polyTools);
    polys_ = samples() + QStringLiteral("/polys");
    drop({poly("12AT3.wav")});
    ASSERT_TRUE(waitForPolyTools());
    ASSERT_TRUE(polyTools_.polyFile.value());
    press(Qt::Key_Slash);
    ASSERT_TRUE(waitForPolyTools());
    ASSERT_EQ(polyTools_.batchPolyMetadata.size(), 1U);
    chooseOutput();
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1-3");
    run();
    EXPECT_EQ(trackNames(out("12AT3.wav")).join(u'|'), QStringLiteral("Plant"));
    press(Qt::Key_Comma);
    EXPECT_TRUE(polyTools_.polyFile.value()) << "each mode keeps its selection";
}

TEST_F(EditViewTest, ChannelsAreNamedAfterTheFirstPolyAndThenTheWidest) {
    open();
    load({poly("12AT3.wav"), poly("7C-T01.wav")});
    clickEdit("Enable Channel Reorder");
    EXPECT_EQ(order(), (Order{1, 2, 3, 4}));
    EXPECT_EQ(orderTable().model()->index(3, 3).data().toString(), QStringLiteral("Plant"));
    const auto& names = *view().renameSection().table().model();
    EXPECT_EQ(names.rowCount(), 8);
    EXPECT_EQ(names.index(3, 1).data().toString(), QStringLiteral("Plant"));
    EXPECT_EQ(names.index(4, 1).data().toString(), QStringLiteral("Lav 2"));
}

TEST_F(EditViewTest, AChangedRowAmongTwentyThousandLeavesTheChannelsAlone) {
    open();
    clickEdit("Enable Rename Channels");
    clickEdit("Enable Channel Reorder");
    BatchPolyMetadata poly;
    poly.channelCount = 8;
    const auto append = [&](int count) {
        for (int row = 0; row < count; ++row) {
            poly.id = QUuid::createUuid();
            poly.url = QStringLiteral("/takes/%1.wav").arg(polyTools_.batchPolyMetadata.size());
            polyTools_.batchPolyMetadata.append(poly);
        }
        settle();
    };
    append(20'000);
    QSignalSpy names(view().renameSection().table().model(), &QAbstractItemModel::modelReset);
    QSignalSpy orders(orderTable().model(), &QAbstractItemModel::modelReset);
    for (std::size_t row = 0; row < 100; ++row) {
        polyTools_.batchPolyMetadata.update(row, [](BatchPolyMetadata& item) { item.duration += 1; });
        settle();
    }
    EXPECT_EQ(names.size() + orders.size(), 0) << "a new duration names no channel and moves none";
    EXPECT_EQ(order().size(), 8U);
}

TEST_F(EditViewTest, ARealRecordingKeepsItsChannels) {
    const QString real = samplesFolder();
    if (real.isEmpty()) GTEST_SKIP() << "no real recordings here";
    const QString name = QStringLiteral("daw/resolve-fairlight/16-multi-channel.wav");
    const auto document = nlohmann::json::parse(readAll(real + QStringLiteral("/samples.json")).toStdString());
    nlohmann::json facts;
    for (const auto& file : document["files"]) {
        if (file["file"] == name.toStdString()) facts = file;
    }
    ASSERT_FALSE(facts.is_null());
    const QString source = real + u'/' + name;
    const QString before = fingerprintOf(source);
    open();
    load({source});
    chooseOutput();
    clickEdit("Enable Channel Removal");
    typeInto(view(), "Channel numbers to remove", "1-12, 14");
    clickEdit("Enable Rename Channels");
    typeNames(view().renameSection().table(), {QString(), QStringLiteral("Fifteen")});
    run();
    const QByteArray data = chunkOf(readAll(out("16-multi-channel.wav")), "data");
    const std::array kept{13, 15, 16};
    constexpr qsizetype frame = 3 * 2; // bytes
    for (qsizetype channel = 0; channel < 3; ++channel) {
        QByteArray bytes;
        for (qsizetype at = 0; at + frame <= data.size(); at += frame) bytes += data.mid(at + channel * 2, 2);
        EXPECT_EQ(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString(),
                  facts["channel_sha256"][static_cast<std::size_t>(kept[static_cast<std::size_t>(channel)]) - 1]);
    }
    EXPECT_EQ(trackNames(out("16-multi-channel.wav")).join(u'|'), QStringLiteral("Audio 13-M|Fifteen|Audio 16-M"));
    EXPECT_EQ(fingerprintOf(source), before);
}

} // namespace
} // namespace ostrel::testing
