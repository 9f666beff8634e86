#include "delivery/report/sound_report.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>
#include <map>

namespace ostrel::testing {
namespace {

struct Shot {
    QByteArray scene, take, tape = "R1", rate = "25/1", flag = "NDF", extra;
    quint64 start = 48000ULL * 36000;
    std::vector<std::pair<int, QByteArray>> tracks; // input and name
    int frames = 48000;
};

QByteArray documentOf(const Shot& shot) {
    QByteArray tracks;
    int place = 0;
    for (const auto& [input, name] : shot.tracks) {
        tracks += "<TRACK><CHANNEL_INDEX>" + QByteArray::number(input) + "</CHANNEL_INDEX><INTERLEAVE_INDEX>" +
                  QByteArray::number(++place) + "</INTERLEAVE_INDEX><NAME>" + name + "</NAME></TRACK>";
    }
    return "<?xml version=\"1.0\"?><BWFXML><PROJECT>Night &amp; Day</PROJECT><SCENE>" + shot.scene + "</SCENE><TAKE>" +
           shot.take + "</TAKE><TAPE>" + shot.tape + "</TAPE>" + shot.extra + "<SPEED><TIMECODE_RATE>" + shot.rate +
           "</TIMECODE_RATE><TIMECODE_FLAG>" + shot.flag + "</TIMECODE_FLAG></SPEED><TRACK_LIST>" + tracks +
           "</TRACK_LIST></BWFXML>";
}

class Report : public ::testing::Test {
protected:
    void write(const QString& name, const Shot& shot) {
        WaveSpec spec{.channels = static_cast<int>(shot.tracks.size()), .frames = shot.frames};
        spec.before = {{"bext", bextPayload({.timeReference = shot.start})}, {"iXML", documentOf(shot)}};
        files_.push_back(readRecordingFacts(folder_.write(name, waveBytes(spec))));
    }

    SoundReport report() const { return soundReportOf(files_); }

    TestFolder folder_;
    std::vector<RecordingFacts> files_;
};

// A reader of its own, for what the tests look at: commas part cells, quotes keep them together.
std::vector<QStringList> rowsOfCsv(const QString& text) {
    std::vector<QStringList> rows{{}};
    QString cell;
    bool isQuoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar letter = text[i];
        if (letter == u'"' && isQuoted && i + 1 < text.size() && text[i + 1] == u'"') {
            cell += text[i++];
        } else if (letter == u'"') {
            isQuoted = !isQuoted;
        } else if (letter == u',' && !isQuoted) {
            rows.back() << std::exchange(cell, QString());
        } else if (letter == u'\n' && !isQuoted) {
            rows.back() << std::exchange(cell, QString());
            rows.emplace_back();
        } else if (letter != u'\r' || isQuoted) {
            cell += letter;
        }
    }
    return rows;
}

std::map<QString, QString> takeInCsv(const QString& text, const QString& file) {
    QStringList head;
    for (const QStringList& row : rowsOfCsv(text)) {
        if (row.value(0) == QStringLiteral("File Name")) head = row;
        if (head.isEmpty() || row.value(0) != file) continue;
        std::map<QString, QString> take;
        for (qsizetype i = 0; i < head.size(); ++i) take[head[i]] = row.value(i);
        return take;
    }
    return {};
}

TEST_F(Report, APolyIsARowAndItsNumbersAreThoseOfTheFile) {
    write(QStringLiteral("12A_03.wav"), {.scene = "12A",
                                         .take = "03",
                                         .extra = "<NOTE>plane, \"loud\"\nfrom 0:20</NOTE><CIRCLED>TRUE</CIRCLED>",
                                         .start = 2350375830,
                                         .tracks = {{3, "Boom"}, {4, "Lav \"A\""}},
                                         .frames = 48000 * 61});
    auto take = takeInCsv(reportAsCsv(report()), QStringLiteral("12A_03.wav"));
    EXPECT_EQ(take["Channels"_s], QStringLiteral("2(POLY)"));
    EXPECT_EQ(take["Scene"_s], QStringLiteral("12A"));
    EXPECT_EQ(take["Take"_s], QStringLiteral("03"));
    EXPECT_EQ(take["Frame Rate"_s], QStringLiteral("25 ND"));
    EXPECT_EQ(take["Start TC"_s], QStringLiteral("13:36:06:04"));
    EXPECT_EQ(take["Length"_s], QStringLiteral("00:01:01"));
    EXPECT_EQ(take["Circled"_s], QStringLiteral("Yes"));
    EXPECT_EQ(take["Wild"_s], QString());
    EXPECT_EQ(take["Notes"_s], QStringLiteral("plane, \"loud\"\nfrom 0:20"));
    EXPECT_EQ(take["T1"_s], QStringLiteral("Boom"));
    EXPECT_EQ(take["T2"_s], QStringLiteral("Lav \"A\""));
    EXPECT_EQ(take["Sample Rate"_s], QStringLiteral("48000"));
    EXPECT_EQ(take["Bit Depth"_s], QStringLiteral("24"));
}

TEST_F(Report, TheMonoFilesOfATakeAreOneRow) {
    write(QStringLiteral("A101_2.WAV"), {.scene = "101", .take = "1", .tracks = {{2, "Lav"}}});
    write(QStringLiteral("A101_1.WAV"), {.scene = "101", .take = "1", .tracks = {{1, "Boom"}}});
    write(QStringLiteral("A102_1.WAV"),
          {.scene = "101", .take = "2", .start = 48000ULL * 37000, .tracks = {{1, "Boom"}}});
    const SoundReport made = report();
    ASSERT_EQ(made.takes.size(), 2U);
    auto take = takeInCsv(reportAsCsv(made), QStringLiteral("A101_X.WAV"));
    EXPECT_EQ(take["Channels"_s], QStringLiteral("2(MONO)"));
    EXPECT_EQ(take["T1"_s], QStringLiteral("Boom"));
    EXPECT_EQ(take["T2"_s], QStringLiteral("Lav"));
    EXPECT_EQ(made.header.value(QStringLiteral("Project")), QStringLiteral("Night & Day"));
    EXPECT_EQ(made.header.value(QStringLiteral("Roll")), QStringLiteral("R1"));
}

TEST_F(Report, ASetIsCalledByWhatItsNamesShare) {
    const auto named = [this](const QString& one, const QString& other) {
        files_.clear();
        write(one, {.scene = "1", .take = "1", .tracks = {{1, "a"}}});
        write(other, {.scene = "1", .take = "1", .tracks = {{2, "b"}}});
        return report().takes.at(0).name;
    };
    EXPECT_EQ(named(QStringLiteral("Sr001-2C-01_01.WAV"), QStringLiteral("Sr001-2C-01_02.WAV")),
              QStringLiteral("Sr001-2C-01_X.WAV"));
    EXPECT_EQ(named(QStringLiteral("S-T001_Tr1_D.WAV"), QStringLiteral("S-T001_TrL_R.WAV")),
              QStringLiteral("S-T001_X.WAV"));
    EXPECT_EQ(named(QStringLiteral("boom1.wav"), QStringLiteral("boom2.wav")), QStringLiteral("boom_X.wav"));
}

TEST_F(Report, OneTakeOfTwoLengthsIsNotOneRow) {
    write(QStringLiteral("A101_1.WAV"), {.scene = "101", .take = "1", .tracks = {{1, "Boom"}}});
    write(QStringLiteral("A101_2.WAV"), {.scene = "101", .take = "1", .tracks = {{2, "Lav"}}, .frames = 47999});
    EXPECT_EQ(report().takes.size(), 2U);
}

TEST_F(Report, AleHasOneRateAndLabelsThatEndBehindTheLastFrame) {
    write(QStringLiteral("2C-01.wav"), {.scene = "2C\tx",
                                        .take = "1",
                                        .tape = "Sr001",
                                        .start = 2350375830,
                                        .tracks = {{1, "a"}, {2, "b"}},
                                        .frames = 480000});
    write(QStringLiteral("2C-02.wav"), {.scene = "2C",
                                        .take = "2",
                                        .rate = "30000/1001",
                                        .flag = "DF",
                                        .start = 2881278,
                                        .tracks = {{1, "a"}},
                                        .frames = 1602});
    const SoundReport made = report();
    ASSERT_EQ(ratesOf(made).size(), 2U);
    const QString at25 = reportAsAle(made, ratesOf(made)[0]);
    EXPECT_EQ(
        at25,
        QStringLiteral(
            "Heading\r\nFIELD_DELIM\tTABS\r\nVIDEO_FORMAT\t1080\r\nAUDIO_FORMAT\t48khz\r\nFPS\t25\r\n\r\nColumn\r\n"
            "Name\tTracks\tStart\tEnd\tTape\tScene\tTake\r\n\r\nData\r\n"
            "2C-01\tA1A2\t13:36:06:04\t13:36:16:04\tSr001\t2C x\t1\r\n"));
    const QString drop = reportAsAle(made, ratesOf(made)[1]);
    EXPECT_TRUE(drop.contains(QStringLiteral("FPS\t29.97\r\n")));
    EXPECT_TRUE(drop.contains(QStringLiteral("2C-02\tA1\t00:00:59;29\t00:01:00;02\t"))) << drop.toStdString();
}

TEST_F(Report, AClipOfLessThanAFrameEndsAFrameLater) {
    write(QStringLiteral("x.wav"), {.scene = "1", .take = "1", .tracks = {{1, "a"}}, .frames = 10});
    const SoundReport made = report();
    EXPECT_TRUE(reportAsAle(made, ratesOf(made)[0]).contains(QStringLiteral("10:00:00:00\t10:00:00:01")));
}

TEST_F(Report, ThePageEscapesWhatPeopleWrote) {
    write(QStringLiteral("x.wav"), {.scene = "&lt;script&gt;", .take = "1", .tracks = {{1, "a"}}});
    SoundReport made = report();
    EXPECT_TRUE(made.header.set(QStringLiteral("sound mixer"), QStringLiteral("<b>A</b>")));
    EXPECT_FALSE(made.header.set(QStringLiteral("Weather"), QString()));
    const QString page = reportAsHtml(made);
    EXPECT_FALSE(page.contains(QStringLiteral("<script")));
    EXPECT_TRUE(page.contains(QStringLiteral("&lt;script&gt;")));
    EXPECT_TRUE(page.contains(QStringLiteral("&lt;b&gt;A&lt;/b&gt;")));
    EXPECT_FALSE(page.contains(QStringLiteral("http")));
}

TEST_F(Report, AFolderOfADayReadsAsItWasShot) {
    write(QStringLiteral("b.wav"), {.scene = "1", .take = "2", .start = 48000ULL * 50000, .tracks = {{1, "a"}}});
    write(QStringLiteral("a.wav"),
          {.scene = "9", .take = "1", .tape = "R2", .start = 48000ULL * 10, .tracks = {{1, "a"}}});
    write(QStringLiteral("c.wav"), {.scene = "1", .take = "1", .start = 48000ULL * 40000, .tracks = {{1, "a"}}});
    QStringList names;
    for (const ReportedTake& take : report().takes) names << take.name;
    EXPECT_EQ(names, (QStringList{QStringLiteral("c.wav"), QStringLiteral("b.wav"), QStringLiteral("a.wav")}));
}

TEST_F(Report, RealTakesOfRecordersReadAsTheirMakersReportThem) {
    const QString folder = samplesFolder();
    if (folder.isEmpty()) GTEST_SKIP() << "no recordings of real devices here";
    for (const QString& name : namesIn(folder + QStringLiteral("/recorders/metacorder-isos-take-2C-01"))) {
        if (!name.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive)) continue;
        files_.push_back(readRecordingFacts(folder + QStringLiteral("/recorders/metacorder-isos-take-2C-01/") + name));
    }
    if (files_.empty()) GTEST_SKIP();
    const SoundReport made = report();
    ASSERT_EQ(made.takes.size(), 1U);
    EXPECT_EQ(made.takes[0].scene, QStringLiteral("2C"));
    EXPECT_EQ(made.takes[0].channels, static_cast<int>(files_.size()));
}

} // namespace
} // namespace ostrel::testing
