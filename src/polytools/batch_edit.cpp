#include "polytools/batch_edit.h"

#include "platform/files.h"
#include "platform/paths.h"
#include "polytools/poly_channel_filter_engine.h"
#include "polytools/poly_track_reading.h"

#include <QSet>
#include <algorithm>

namespace ostrel {
namespace {

constexpr LogCategory kProcess = LogCategory::process;

class BatchEdit {
public:
    BatchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks)
        : options_(options), tools_(tools), hooks_(hooks), engine_(tools, hooks),
          log_(hooks, QStringLiteral("PolyToolsVM"), QString()) {}

    BatchSplitResult run(const std::function<void(const BatchProgress&)>& progress) {
        const int total = static_cast<int>(options_.files.size());
        const auto report = [&](int index, const QString& file) {
            progress({index, total, file, result_.totalISOsCreated, result_.successCount, result_.errorCount,
                      result_.skipCount});
        };
        for (int i = 0; i < total && !hooks_.stopped(); ++i) {
            report(i + 1, paths::stem(options_.files[i]));
            editOne(options_.files[i]);
            ++result_.processedFiles;
        }
        report(total, QStringLiteral("Complete"));
        result_.logMessages = log_.take();
        return std::move(result_);
    }

private:
    void editOne(const QString& url) {
        PolyFileResult row;
        row.sourceURL = url;
        row.fileName = paths::lastComponent(url);
        try {
            row.poly = readPolyFile(url, tools_.ffprobePath);
            row.channelCount = row.poly.channelCount;
        } catch (const std::exception& error) {
            log_.error(kProcess, QStringLiteral("❌ Failed to read: ") + row.fileName);
            fail(row, describe(error));
            return;
        }
        try {
            ChannelFilterResult edited =
                options_.inPlace ? engine_.renameTracksInPlace(row.poly, options_.renames) : rebuild(row.poly);
            succeed(row, edited);
        } catch (const std::exception& error) {
            const QString reason = describe(error);
            log_.error(kProcess, QStringLiteral("❌ Error processing %1: %2").arg(row.fileName, reason));
            fail(row, reason);
        }
    }

    ChannelFilterResult rebuild(const PolyFile& poly) {
        const QString folder = options_.outputFolder.isEmpty() ? paths::parent(poly.url) : options_.outputFolder;
        files::createFolder(folder);
        refused_.clear();
        const QString name = options_.files.size() == 1 ? options_.customName : QString();
        return engine_.removeChannelsFromPoly(poly, options_.filter, folder, name, options_.preserveMetadata,
                                              options_.renames, options_.reorder,
                                              [this](const QString& output) { return mayWrite(output); });
    }

    bool mayWrite(const QString& output) {
        if (!paths::exists(output)) return true;
        const QString file = paths::lastComponent(output);
        const bool isSource = std::ranges::any_of(
            options_.files, [&](const QString& source) { return paths::isSameFile(source, output); });
        if (options_.skipIfExists && !isSource && !written_.contains(output)) {
            log_.info(kProcess, QStringLiteral("Skipped (exists): ") + file);
            refused_ = QStringLiteral("exists");
            return false;
        }
        if (options_.overwriteExisting && !isSource && !written_.contains(output)) return true;
        throw FileError(isSource ? QStringLiteral("Output is a file of this selection: ") + file
                                 : QStringLiteral("Output exists, overwrite disabled: ") + file);
    }

    void succeed(PolyFileResult& row, const ChannelFilterResult& edited) {
        row.createdFiles = edited.outputFiles;
        row.resultChannels = edited.channelCount;
        row.trackNames = edited.trackNames;
        if (edited.filesProcessed > 0) {
            ++result_.successCount;
            row.status = ProcessingStatus::completed();
            for (const QString& output : edited.outputFiles) written_.insert(output);
        } else {
            ++result_.skipCount;
            row.status =
                ProcessingStatus::skipped(refused_.isEmpty() ? QStringLiteral("No matching channels") : refused_);
        }
        result_.fileResults.push_back(std::move(row));
    }

    void fail(PolyFileResult& row, const QString& reason) {
        ++result_.errorCount;
        row.status = ProcessingStatus::failed(reason);
        row.errorMessage = reason;
        result_.fileResults.push_back(std::move(row));
    }

    const BatchEditOptions& options_;
    const PolyEngineTools& tools_;
    const PolyEngineHooks& hooks_;
    const PolyChannelFilterEngine engine_;
    QSet<QString> written_;
    QString refused_; // why the file at hand was not written; empty: it was
    EngineLog log_;
    BatchSplitResult result_;
};

} // namespace

BatchSplitResult batchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
                           const std::function<void(const BatchProgress&)>& progress) {
    return BatchEdit(options, tools, hooks).run(progress);
}

} // namespace ostrel
