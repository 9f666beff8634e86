#include "app/join_fixture.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

QByteArray ixml(const QByteArray& scene, const QByteArray& take, int channel, const QByteArray& track) {
    const QByteArray number = QByteArray::number(channel);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><PROJECT>Tide</PROJECT><SCENE>" + scene +
           "</SCENE><TAKE>" + take + "</TAKE><TRACK_LIST><TRACK_COUNT>1</TRACK_COUNT><TRACK><CHANNEL_INDEX>" + number +
           "</CHANNEL_INDEX><INTERLEAVE_INDEX>" + number + "</INTERLEAVE_INDEX><NAME>" + track +
           "</NAME></TRACK></TRACK_LIST></BWFXML>";
}

} // namespace

JoinFixture::JoinFixture() {
    model_.mode = PolyMode::join;
    view_.resize(1000, 700);
    view_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view_));
    view_.activateWindow();
    settle();
}

QString JoinFixture::iso(const QString& name, double level, const std::optional<Told>& told, int frames,
                         int sampleRate) {
    WaveSpec spec;
    spec.frames = frames;
    spec.sampleRate = sampleRate;
    spec.signal = [value = static_cast<std::int32_t>(std::lround(level * 8388608))](int, int) { return value; };
    if (told) spec.before.emplace_back("iXML", ixml(told->scene, told->take, told->channel, told->track));
    return folder_.write(name, waveBytes(spec));
}

QStringList JoinFixture::take(const QByteArray& number, double firstLevel, int frames) {
    const QString start = QStringLiteral("in/T%1_").arg(QString::fromLatin1(number));
    return {iso(start + QStringLiteral("Boom.wav"), firstLevel, Told{"12A", number, 1, "Boom"}, frames),
            iso(start + QStringLiteral("Lav.wav"), firstLevel + 0.1, Told{"12A", number, 2, "Lav"}, frames)};
}

void JoinFixture::choose(const QStringList& urls) {
    desktop_.openPanelAnswer = urls;
    click(QStringLiteral("Source ISO Files: Select Files or Folder..."));
    ASSERT_TRUE(wait());
}

void JoinFixture::chooseOutput(const QString& folder) {
    desktop_.openPanelAnswer = {folder};
    click(QStringLiteral("Output Folder: Choose Folder..."));
}

bool JoinFixture::wait() {
    const bool ended = waitUntil([this] { return !model_.hasRunningTask(); });
    settle();
    return ended;
}

void JoinFixture::settle() {
    for (int turn = 0; turn < 4; ++turn) QCoreApplication::processEvents();
}

QAbstractButton& JoinFixture::button(const QString& accessibleName) {
    settle();
    for (QAbstractButton* button : view_.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->accessibleName() == accessibleName) return *button;
    }
    return *find<QAbstractButton>(view_, accessibleName);
}

void JoinFixture::click(const QString& accessibleName) {
    QAbstractButton& target = button(accessibleName);
    ASSERT_TRUE(target.isEnabled() && target.isVisible()) << accessibleName.toStdString();
    QTest::mouseClick(&target, Qt::LeftButton, {}, QPoint(9, target.height() / 2));
    settle();
}

void JoinFixture::clickRow(QAbstractItemView& view, const QModelIndex& index, int column, int x) {
    const QModelIndex cell = column < 0 ? index : index.siblingAtColumn(column);
    view.scrollTo(cell);
    settle();
    const QRect rect = view.visualRect(cell);
    const int offset = std::min(x, rect.width() / 2);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(rect.left() + offset, rect.top() + 12));
    settle();
}

void JoinFixture::key(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    widget.setFocus();
    QTest::keyClick(&widget, key, modifiers);
    settle();
}

bool JoinFixture::shows(const QString& text) const {
    for (const QLabel* label : view_.findChildren<QLabel*>()) {
        if (label->isVisible() && label->text() == text) return true;
    }
    for (const TruncatingText* label : view_.findChildren<TruncatingText*>()) {
        if (label->isVisible() && label->text() == text) return true;
    }
    return false;
}

QString JoinFixture::names() const {
    QStringList names;
    for (const ISOFile& iso : model_.isoFiles) names << iso.fileName;
    return names.join(u' ');
}

std::vector<double> JoinFixture::levels(const QString& path) const {
    if (!QFile::exists(path)) return {};
    std::vector<double> result;
    for (const auto& channel : decodedByFfmpeg(path)) {
        const double level = channel.at(channel.size() / 2) / 2147483648.0;
        result.push_back(std::round(level * 1000) / 1000);
    }
    return result;
}

std::pair<double, double> JoinFixture::heardNow() const {
    EXPECT_TRUE(disk_.waitForMore(9'600)) << "nothing is heard";
    const auto rounded = [](double level) { return std::round(level * 1000) / 1000; };
    return {rounded(disk_.heard(0).back()), rounded(disk_.heard(1).back())};
}

} // namespace ostrel::testing
