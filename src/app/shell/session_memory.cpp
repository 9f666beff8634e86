#include "app/shell/session_memory.h"

#include "interleaver/app_view_model.h"
#include "polytools/poly_tools_view_model.h"
#include "stereovalidator/stereo_validator_view_model.h"

#include <QSettings>

namespace ostrel {
namespace {

const QString kShowOptions = QStringLiteral("interleaver/showOptions");
constexpr std::array kModes{AppMode::interleave, AppMode::deinterleave};

QString settingOf(const QString& key) { return QStringLiteral("session/") + key; }

QString stored(const QString& key) { return QSettings().value(settingOf(key)).toString(); }

void store(const QString& key, const QString& value) {
    if (stored(key) != value) QSettings().setValue(settingOf(key), value);
}

QString wordOf(bool flag) { return flag ? QStringLiteral("true") : QStringLiteral("false"); }

std::optional<bool> flagOf(const QString& word) {
    if (word == QStringLiteral("true")) return true;
    if (word == QStringLiteral("false")) return false;
    return std::nullopt;
}

template <class Values>
auto named(const Values& allowed, const QString& word) -> std::optional<typename Values::value_type> {
    for (const auto value : allowed) {
        if (rawText(value) == word) return value;
    }
    return std::nullopt;
}

} // namespace

SessionMemory::SessionMemory(QProperty<AppTab>& tab, AppViewModel& interleaver, PolyToolsViewModel& polyTools,
                             StereoValidatorViewModel& validator) {
    keep(QStringLiteral("tab"), tab, kAllAppTabs);
    keepInterleaver(interleaver);
    keepPolyTools(polyTools);
    keepValidator(validator);
}

bool SessionMemory::knowsOptions() const { return !stored(kShowOptions).isEmpty(); }

void SessionMemory::keep(const QString& key, QProperty<bool>& flag) {
    flag = flagOf(stored(key)).value_or(flag.value());
    notifiers_.push_back(flag.addNotifier([key, &flag] { store(key, wordOf(flag.value())); }));
}

template <class Value, class Values>
void SessionMemory::keep(const QString& key, QProperty<Value>& property, const Values& allowed) {
    property = named(allowed, stored(key)).value_or(property.value());
    notifiers_.push_back(property.addNotifier([key, &property] { store(key, rawText(property.value())); }));
}

// Of `ProcessingOptions` these three. To skip what exists is one of the dangerous ones: without it an interleave
// overwrites.
void SessionMemory::keepInterleaver(AppViewModel& viewModel) {
    const QString policy = QStringLiteral("interleaver/outputFormat");
    const QString separator = QStringLiteral("interleaver/channelSeparator");
    const QString subfolders = QStringLiteral("interleaver/includeSubfolders");
    ProcessingOptions options = viewModel.options.value();
    options.outputFormatPolicy = named(kAllOutputFormatPolicies, stored(policy)).value_or(options.outputFormatPolicy);
    options.channelSeparator = named(kAllChannelSeparators, stored(separator)).value_or(options.channelSeparator);
    options.includeSubfolders = flagOf(stored(subfolders)).value_or(options.includeSubfolders);
    viewModel.options = options;
    notifiers_.push_back(viewModel.options.addNotifier([=, &viewModel] {
        const ProcessingOptions& now = viewModel.options.value();
        store(policy, rawText(now.outputFormatPolicy));
        store(separator, rawText(now.channelSeparator));
        store(subfolders, wordOf(now.includeSubfolders));
    }));
    keep(QStringLiteral("interleaver/mode"), viewModel.currentMode, kModes);
    keep(QStringLiteral("interleaver/report"), viewModel.generateCSV);
    keep(kShowOptions, viewModel.showOptions);
}

void SessionMemory::keepPolyTools(PolyToolsViewModel& viewModel) {
    keep(QStringLiteral("poly/mode"), viewModel.mode, kAllPolyModes);
    keep(QStringLiteral("poly/report"), viewModel.generateCSV);
    keep(QStringLiteral("poly/autoOrder"), viewModel.autoOrderChannels);
    keep(QStringLiteral("poly/subfolders"), viewModel.recursiveScan);
    keep(QStringLiteral("poly/splitFolders"), viewModel.folderOrganization, kAllFolderOrganizations);
    keep(QStringLiteral("poly/splitKeepsName"), viewModel.splitKeepOriginalName);
    keep(QStringLiteral("poly/joinSubfolders"), viewModel.joinRecursiveScan);
    keep(QStringLiteral("poly/joinKeepsName"), viewModel.joinKeepOriginalName);
    keep(QStringLiteral("poly/joinStrict"), viewModel.joinStrict);
    keep(QStringLiteral("poly/joinLayout"), viewModel.joinChannelLayout, kAllJoinChannelLayouts);
}

// The thresholds are the preset's, which the tab applies when it first appears.
void SessionMemory::keepValidator(StereoValidatorViewModel& viewModel) {
    keep(QStringLiteral("validator/subfolders"), viewModel.recursiveScan);
    keep(QStringLiteral("validator/skipMono"), viewModel.skipMonoFiles);
    keep(QStringLiteral("validator/report"), viewModel.generateCSV);
    keep(QStringLiteral("validator/dualMono"), viewModel.processDualMono);
    keep(QStringLiteral("validator/oneSided"), viewModel.processOneSided);
    keep(QStringLiteral("validator/broken"), viewModel.processBroken);
    keep(QStringLiteral("validator/side"), viewModel.dualMonoSideSelection, kAllDualMonoSideSelections);
}

} // namespace ostrel
