#include "wave/channel_copy.h"

#include "support/test_folder.h"
#include "wave/sample_kernels.h"
#include "wave/wave_bytes.h"

#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel::testing {
namespace {

// Audio in which every sample tells its file, channel and frame.
QByteArray audioOf(int file, std::size_t channels, std::size_t width, std::size_t frames) {
    QByteArray bytes;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            for (std::size_t byte = 0; byte < width; ++byte) {
                bytes += static_cast<char>(frame * 31 + (frame >> 8) * 7 + channel * 5 + byte * 3 +
                                           static_cast<std::size_t>(file) * 11);
            }
        }
    }
    return bytes;
}

QByteArray channelOf(const QByteArray& audio, std::size_t channels, std::size_t width, std::size_t channel) {
    QByteArray bytes;
    const auto frame = static_cast<qsizetype>(channels * width);
    for (qsizetype at = static_cast<qsizetype>(channel * width); at < audio.size(); at += frame) {
        bytes += audio.mid(at, static_cast<qsizetype>(width));
    }
    return bytes;
}

// No file of this process may grow beyond it, as if the disk were full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &old_);
        rlimit limit = old_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit old_{};
    void (*handler_)(int) = SIG_DFL;
};

class ChannelCopy : public ::testing::Test {
protected:
    std::string file(const QString& name, const QByteArray& bytes) { return folder.write(name, bytes).toStdString(); }
    std::string empty(const QString& name) {
        QFile::remove(folder.path(name));
        return folder.path(name).toStdString();
    }
    static QByteArray read(const std::string& path) { return readAll(QString::fromStdString(path)); }

    TestFolder folder;
};

TEST_F(ChannelCopy, EveryWidthAndCountComesApart) {
    for (std::size_t width = 1; width <= 8; ++width) {
        for (const std::size_t channels : {1U, 2U, 3U, 8U, 64U}) {
            constexpr std::size_t kFrames = 1003;
            const QByteArray audio = audioOf(0, channels, width, kFrames);
            CopyPlan plan{{{file(QStringLiteral("s.wav"), "HEAD" + audio), 4, channels}}, {}, width, kFrames};
            for (std::size_t i = 0; i < channels; ++i) {
                plan.targets.push_back({empty(QStringLiteral("%1.wav").arg(i)), "head!", {{0, i}}});
            }
            copyChannels(plan);
            for (std::size_t i = 0; i < channels; ++i) {
                QByteArray expected = "head!" + channelOf(audio, channels, width, i);
                if (kFrames * width % 2) expected += '\0';
                ASSERT_EQ(read(plan.targets[i].path), expected) << width << " " << channels << " " << i;
            }
        }
    }
}

TEST_F(ChannelCopy, EveryWidthComesTogetherInTheOrderOfThePlan) {
    for (std::size_t width = 1; width <= 8; ++width) {
        constexpr std::size_t kFrames = 517;
        const QByteArray a = audioOf(1, 1, width, kFrames);
        const QByteArray b = audioOf(2, 3, width, kFrames);
        const CopyPlan plan{{{file(QStringLiteral("a"), a), 0, 1}, {file(QStringLiteral("b"), b), 0, 3}},
                            {{empty(QStringLiteral("t")), "h", {{1, 2}, {0, 0}, {1, 0}}}},
                            width,
                            kFrames};
        copyChannels(plan);
        const QByteArray audio = read(plan.targets[0].path).mid(1);
        const auto bytes = static_cast<qsizetype>(kFrames * width);
        EXPECT_EQ(channelOf(audio, 3, width, 0).first(bytes), channelOf(b, 3, width, 2));
        EXPECT_EQ(channelOf(audio, 3, width, 1).first(bytes), a);
        EXPECT_EQ(channelOf(audio, 3, width, 2).first(bytes), channelOf(b, 3, width, 0));
    }
}

// Longer than what all threads have in hand at once.
TEST_F(ChannelCopy, LongFilesComeOutWhole) {
    constexpr std::size_t kFrames = 3'000'001;
    const QByteArray audio = audioOf(0, 2, 3, kFrames);
    const CopyPlan plan{{{file(QStringLiteral("s"), audio), 0, 2}},
                        {{empty(QStringLiteral("l")), "head", {{0, 0}}}, {empty(QStringLiteral("r")), "", {{0, 1}}}},
                        3,
                        kFrames};
    std::atomic<std::uint64_t> most = 0;
    copyChannels(plan, [&](std::uint64_t bytes) {
        for (std::uint64_t seen = most; bytes > seen && !most.compare_exchange_weak(seen, bytes);) {
        }
    });
    EXPECT_EQ(read(plan.targets[0].path), "head" + channelOf(audio, 2, 3, 0) + QByteArray(1, '\0'));
    EXPECT_EQ(read(plan.targets[1].path), channelOf(audio, 2, 3, 1) + QByteArray(1, '\0'));
    EXPECT_EQ(most, 2U * 3U * kFrames);
    EXPECT_EQ(plan.bytesToWrite(), 2U * 3U * kFrames + 4U);
}

TEST_F(ChannelCopy, NoFramesGiveTheHeadAlone) {
    const CopyPlan plan{
        {{file(QStringLiteral("s"), "abc"), 3, 2}}, {{empty(QStringLiteral("t")), "head", {{0, 1}}}}, 2, 0};
    copyChannels(plan);
    EXPECT_EQ(read(plan.targets[0].path), "head");
}

TEST_F(ChannelCopy, ASourceThatIsShorterThanItsHeadSaysIsNamed) {
    const std::string source = file(QStringLiteral("s"), QByteArray(10, 'x'));
    const CopyPlan plan{{{source, 0, 1}}, {{empty(QStringLiteral("t")), "head", {{0, 0}}}}, 2, 6};
    try {
        copyChannels(plan);
        FAIL() << "six frames of five";
    } catch (const CopyError& error) {
        EXPECT_EQ(error.path, source);
        EXPECT_STREQ(error.what(), "the file is shorter than its head says");
    }
    EXPECT_NE(read(plan.targets[0].path).left(4), "head"); // what was left half way is no recording
}

TEST_F(ChannelCopy, ASourceThatChangesUnderneathFailsTheCopy) {
    const std::string source = file(QStringLiteral("s"), QByteArray(64, 'x'));
    const CopyPlan plan{{{source, 0, 1}}, {{empty(QStringLiteral("t")), "head", {{0, 0}}}}, 2, 32};
    const auto grow = [&](std::uint64_t) {
        QFile more(QString::fromStdString(source));
        ASSERT_TRUE(more.open(QIODevice::Append));
        more.write("more");
    };
    EXPECT_THROW(copyChannels(plan, grow), CopyError);
}

TEST_F(ChannelCopy, AFileThatIsNotThereIsNamed) {
    const std::string gone = folder.path(QStringLiteral("gone")).toStdString();
    const CopyPlan plan{{{gone, 0, 1}}, {{empty(QStringLiteral("t")), "", {{0, 0}}}}, 2, 1};
    try {
        copyChannels(plan);
        FAIL() << "read a file that is not there";
    } catch (const CopyError& error) {
        EXPECT_EQ(error.path, gone);
    }
}

// No room for the whole file: that shows before a byte is written.
TEST_F(ChannelCopy, AFileThatHasNoRoomIsAnErrorAtOnce) {
    const FileSizeLimit limit(1000);
    const CopyPlan plan{
        {{file(u"s"_s, QByteArray(900, 'x')), 0, 1}}, {{empty(u"t"_s), "head", {{0, 0}, {0, 0}}}}, 2, 450};
    EXPECT_THROW(copyChannels(plan), CopyError);
    EXPECT_TRUE(read(plan.targets[0].path).isEmpty());
}

TEST_F(ChannelCopy, AFileThatIsThereIsNotTouched) {
    const std::string there = file(u"t"_s, "a recording");
    const CopyPlan plan{{{file(u"s"_s, "abcd"), 0, 1}}, {{there, "head", {{0, 0}}}}, 2, 2};
    EXPECT_THROW(copyChannels(plan), CopyError);
    EXPECT_EQ(read(there), "a recording");
}

// Twenty gibibytes that take no room: only the last frames are there.
TEST_F(ChannelCopy, OffsetsBeyondFourGibibytesAreReached) {
    const std::string source = file(QStringLiteral("s"), {});
    constexpr qint64 kStart = qint64{20} << 30;
    QFile sparse(QString::fromStdString(source));
    ASSERT_TRUE(sparse.open(QIODevice::ReadWrite) && sparse.seek(kStart) && sparse.write("abcdefgh") == 8);
    sparse.close();
    const CopyPlan plan{
        {{source, static_cast<std::uint64_t>(kStart), 2}}, {{empty(QStringLiteral("t")), "", {{0, 1}}}}, 2, 2};
    copyChannels(plan);
    EXPECT_EQ(read(plan.targets[0].path), "cdgh");
}

TEST(SampleKernels, TouchNoByteButThoseOfTheSamples) {
    for (std::size_t width = 1; width <= 8; ++width) {
        for (const std::size_t toStride : {width, width + 1, 3 * width}) {
            const std::size_t fromStride = 2 * width;
            constexpr std::size_t kCount = 7;
            std::vector<unsigned char> from(fromStride * (kCount - 1) + width, 0xAB); // ends with the last sample
            std::vector<unsigned char> to(toStride * kCount + 8, 0xEE);
            moveSamples(from.data(), fromStride, to.data(), toStride, width, kCount);
            for (std::size_t at = 0; at < to.size(); ++at) {
                const bool isSample = at < toStride * kCount && at % toStride < width;
                ASSERT_EQ(to[at], isSample ? 0xAB : 0xEE) << width << " " << toStride << " " << at;
            }
        }
    }
}

} // namespace
} // namespace ostrel::testing
