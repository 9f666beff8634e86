// What stands above a tab of its source's seal, and of what a run made.
#include "app/shell/custody_banner.h"

#include "app/blank_page.h"
#include "app/window_test.h"
#include "custody/seal_folder.h"

#include <QPushButton>

namespace ostrel::testing {
namespace {

class ScriptedPage : public BlankPage {
public:
    QString sourcePath() const override { return source; }
    QString outputFolder() const override { return output; }
    ProvenRun provenRun() const override { return made; }
    void note(LogLevel level, const QString& message) override { notes << rawText(level) + u' ' + message; }

    void choose(const QString& path) {
        source = path;
        Q_EMIT sourceChanged();
    }
    void endRun(const QStringList& files) {
        endRun(ItemOutcome{.status = ProcessingStatus::completed(), .outputs = files});
    }
    void endRun(const ItemOutcome& outcome) {
        made.items.clear();
        Q_EMIT busyChanged(true, QString());
        made.items.emplace_back(QStringLiteral("p"), outcome);
        Q_EMIT busyChanged(false, QString());
    }

    QString source;
    QString output;
    ProvenRun made;
    QStringList notes;
};

class CustodyBannerTest : public ::testing::Test {
protected:
    CustodyBannerTest() {
        banner.keep = [this](CustodyDialog::Work work, const QString& of) { kept.emplace_back(work, of); };
        lines = banner.findChildren<CustodyLine*>();
    }
    QString path(const QString& relative) const { return folder.path(relative); }
    CustodyLine& sealed() { return *lines.at(0); }
    CustodyLine& offer() { return *lines.at(1); }
    static bool appears(CustodyLine& line) {
        return QTest::qWaitFor([&] { return !line.isHidden(); });
    }

    TestFolder folder;
    ScriptedPage page;
    CustodyBanner banner{page};
    QList<CustodyLine*> lines;
    std::vector<std::pair<CustodyDialog::Work, QString>> kept;
};

TEST_F(CustodyBannerTest, TellsOfASealedSource) {
    folder.write(QStringLiteral("Day/a.wav"), "a");
    folder.write(QStringLiteral("Day/Roll/b.wav"), "b");
    sealFolder(path(QStringLiteral("Day")));
    sealFolder(path(QStringLiteral("Day")));
    page.choose(path(QStringLiteral("Day")));
    ASSERT_TRUE(appears(sealed()));
    EXPECT_FALSE(banner.isHidden());
    EXPECT_EQ(sealed().text(), QStringLiteral("Sealed, 2 files, 2 generations"));
    auto* button = sealed().findChild<QPushButton*>();
    EXPECT_EQ(button->text(), QStringLiteral("Verify"));
    QTest::keyClick(button, Qt::Key_Return);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept.front().first, CustodyDialog::Work::verify);
    EXPECT_EQ(kept.front().second, path(QStringLiteral("Day")));

    page.choose(path(QStringLiteral("Day/Roll"))); // below a sealed one
    ASSERT_TRUE(appears(sealed()));
    EXPECT_EQ(sealed().folder(), path(QStringLiteral("Day")));

    page.choose(QString());
    EXPECT_TRUE(sealed().isHidden());
    EXPECT_TRUE(banner.isHidden());
}

TEST_F(CustodyBannerTest, SaysThatAHistoryIsDamaged) {
    folder.write(QStringLiteral("Day/a.wav"), "a");
    sealFolder(path(QStringLiteral("Day")));
    folder.write(QStringLiteral("Day/ascmhl/ascmhl_chain.xml"), "<ascmhldirectory");
    page.choose(path(QStringLiteral("Day")));
    ASSERT_TRUE(appears(sealed()));
    EXPECT_EQ(sealed().text(), QStringLiteral("Sealed, but its history is damaged"));
}

TEST_F(CustodyBannerTest, OffersASealOfWhatARunMade) {
    page.output = path(QStringLiteral("out"));
    page.endRun({folder.write(QStringLiteral("out/A/1.wav"), "1"), folder.write(QStringLiteral("out/2.wav"), "2")});
    ASSERT_TRUE(appears(offer()));
    EXPECT_EQ(offer().text(), QStringLiteral("2 files written"));
    EXPECT_EQ(offer().folder(), page.output);
    QTest::keyClick(offer().findChild<QPushButton*>(), Qt::Key_Return);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept.front().first, CustodyDialog::Work::seal);
    EXPECT_EQ(kept.front().second, page.output);
    EXPECT_TRUE(offer().isHidden());
}

TEST_F(CustodyBannerTest, OffersNothingForARunThatMadeNothing) {
    folder.write(QStringLiteral("Day/a.wav"), "a");
    sealFolder(path(QStringLiteral("Day")));
    page.endRun(QStringList());
    page.choose(path(QStringLiteral("Day")));
    ASSERT_TRUE(appears(sealed())); // so whatever the end of the run began is over
    EXPECT_TRUE(offer().isHidden());
}

TEST_F(CustodyBannerTest, WithdrawsTheOfferWithTheNextSelectionAndTheNextRun) {
    const QString made = folder.write(QStringLiteral("1.wav"), "1");
    page.endRun({made});
    ASSERT_TRUE(appears(offer()));
    Q_EMIT page.busyChanged(true, QString());
    EXPECT_TRUE(offer().isHidden());
    Q_EMIT page.busyChanged(false, QString()); // a scan, behind which the run's results still stand
    EXPECT_FALSE(QTest::qWaitFor([this] { return !offer().isHidden(); }, 100));
    page.endRun({made, folder.write(QStringLiteral("2.wav"), "2")});
    ASSERT_TRUE(appears(offer()));
    page.choose(path(QStringLiteral("elsewhere")));
    EXPECT_TRUE(offer().isHidden());
    EXPECT_TRUE(banner.isHidden());
}

TEST_F(CustodyBannerTest, AnEditInPlaceOfASealedRecordingAddsAGeneration) {
    const QString file = folder.write(QStringLiteral("Day/a.wav"), "a");
    sealFolder(path(QStringLiteral("Day")));
    const ItemOutcome outcome{.status = ProcessingStatus::completed(),
                              .outputs = {file},
                              .sources = {{file, SourceFate::Kind::replaced, {}}}};
    const auto told = [this](const QString& text) {
        return QTest::qWaitFor([&] { return page.notes.filter(text).size() == 1; });
    };
    folder.write(QStringLiteral("Day/a.wav"), "another");
    page.made.job = QStringLiteral("edit");
    page.endRun(outcome);
    EXPECT_TRUE(told(QStringLiteral("generation 2, 1 file"))) << page.notes.join(u'\n').toStdString();
    Q_EMIT page.busyChanged(true, QString());
    Q_EMIT page.busyChanged(false, QString()); // a scan, which changed nothing
    folder.write(QStringLiteral("Day/a.wav"), "the third");
    page.endRun(outcome);
    EXPECT_TRUE(told(QStringLiteral("generation 3, 1 file"))) << page.notes.join(u'\n').toStdString();
    EXPECT_EQ(page.notes.filter(QStringLiteral("generation")).size(), 2);
}

TEST_F(CustodyBannerTest, ATaskThatEndsBehindADialogAddsAGenerationToo) {
    const QString file = folder.write(QStringLiteral("Day/a.wav"), "a");
    sealFolder(path(QStringLiteral("Day")));
    folder.write(QStringLiteral("Day/a.wav"), "another");
    page.made.items.emplace_back(QStringLiteral("a"), ItemOutcome{.status = ProcessingStatus::completed(),
                                                                  .outputs = {file},
                                                                  .sources = {{file, SourceFate::Kind::replaced, {}}}});
    Q_EMIT page.taskEnded();
    const QString said = QStringLiteral("generation 2, 1 file");
    EXPECT_TRUE(QTest::qWaitFor([&] { return page.notes.filter(said).size() == 1; }));
}

TEST_F(CustodyBannerTest, SaysInTheLogThatTheOutputFolderIsSealed) {
    folder.write(QStringLiteral("out/a.wav"), "a");
    sealFolder(path(QStringLiteral("out")));
    page.output = path(QStringLiteral("out"));
    page.endRun(QStringList());
    page.endRun(QStringList());
    const QString said = QStringLiteral("will be new to its seal");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !page.notes.filter(said).isEmpty(); }));
    EXPECT_FALSE(QTest::qWaitFor([&] { return page.notes.filter(said).size() > 1; }, 100)); // once is enough
    EXPECT_TRUE(page.notes.first().startsWith(QStringLiteral("WARN")));
}

class SealedDrop : public WindowTest {
protected:
    // Of the lines that are shown, the first.
    CustodyLine* shown() {
        for (CustodyLine* line : window_.findChildren<CustodyLine*>()) {
            if (line->isVisible()) return line;
        }
        return nullptr;
    }
};

TEST_F(SealedDrop, IsToldInEveryTab) {
    const QString folder = samples() + QStringLiteral("/pairs");
    sealFolder(folder);
    for (const AppTab tab : kAllAppTabs) {
        show(tab);
        EXPECT_EQ(shown(), nullptr) << static_cast<int>(tab); // each tab has a source of its own
        drop({folder});
        ASSERT_TRUE(QTest::qWaitFor([this] { return shown() != nullptr; })) << static_cast<int>(tab);
        EXPECT_TRUE(shown()->text().startsWith(QStringLiteral("Sealed, "))) << shown()->text().toStdString();
        EXPECT_EQ(shown()->folder(), folder);
        EXPECT_NE(shown()->findChild<QPushButton*>()->focusPolicy() & Qt::TabFocus, 0);
    }
    ASSERT_TRUE(waitForPolyTools());
}

TEST_F(SealedDrop, GoesToTheDialogAtReturn) {
    const QString folder = samples() + QStringLiteral("/pairs");
    sealFolder(folder);
    show();
    drop({folder});
    ASSERT_TRUE(QTest::qWaitFor([this] { return shown() != nullptr; }));
    QString verdict;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<CustodyDialog*>(QApplication::activeModalWidget());
        if (!dialog || dialog->isRunning()) return;
        verdict = dialog->verdict();
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    closer.start(20);
    auto* verify = shown()->findChild<QPushButton*>();
    verify->setFocus(Qt::TabFocusReason);
    QTest::keyClick(verify, Qt::Key_Return);
    EXPECT_EQ(verdict, QStringLiteral("✓ Everything is what it was"));
}

} // namespace
} // namespace ostrel::testing
