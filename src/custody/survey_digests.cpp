#include "custody/survey_digests.h"

#include "platform/parallel.h"
#include "platform/paths.h"

#include <chrono>
#include <mutex>
#include <numeric>

namespace ostrel {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kBetweenReports = std::chrono::milliseconds(100);

class SharedProgress {
public:
    SharedProgress(const CustodyWatch& watch, quint64 total) : watch_(watch) { state_.bytesTotal = total; }

    void add(quint64 bytes, const QString& file) {
        if (!watch_.progress) return;
        const std::lock_guard lock(mutex_);
        state_.bytesDone += bytes;
        const Clock::time_point now = Clock::now();
        const bool isEnd = state_.bytesDone >= state_.bytesTotal;
        if (!isEnd && now - last_ < kBetweenReports) return;
        last_ = now;
        state_.file = file;
        watch_.progress(state_);
    }

private:
    const CustodyWatch& watch_;
    std::mutex mutex_;
    CustodyProgress state_;
    Clock::time_point last_;
};

bool isAnySlow(const std::vector<HashFormats>& formats) {
    return std::any_of(formats.begin(), formats.end(), [](const HashFormats& each) {
        return std::any_of(each.begin(), each.end(), [](HashFormat format) { return !isFast(format); });
    });
}

} // namespace

void digestFiles(FolderSurvey& survey, const std::vector<HashFormats>& formats, const CustodyWatch& watch) {
    std::vector<std::size_t> order;
    quint64 total = 0;
    for (std::size_t i = 0; i < survey.files.size(); ++i) {
        if (formats[i].empty()) continue;
        order.push_back(i);
        total += survey.files[i].size;
    }
    // The largest first, or one would be read alone at the end.
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return survey.files[a].size > survey.files[b].size; });
    SharedProgress progress(watch, total);
    const std::size_t width = watch.width > 0 ? watch.width : isAnySlow(formats) ? parallelWidth() : 2;
    const auto work = [&](std::size_t place) {
        FoundFile& file = survey.files[order[place]];
        const ReadWatch readWatch{[&](quint64 bytes) { progress.add(bytes, file.path); }, watch.isStopped};
        try {
            file.digests = digestsOfFile(paths::append(survey.root, file.path), formats[order[place]], readWatch);
        } catch (const StoppedError&) {
            throw; // ends all
        } catch (const FileError& error) {
            file.problem = error.description; // told with the file
        }
    };
    forEachInParallel(order.size(), work, width);
}

} // namespace ostrel
