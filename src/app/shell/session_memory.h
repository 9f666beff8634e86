// What a second start finds as the first one left it: tab, modes and options, kept in the user's settings.
//
// Only what can do no harm. Options that delete, move or overwrite recordings, or change them in place, are neither
// written nor read: whatever somebody writes into the file of settings, every start begins with the safe ones.
//
// The engine, proofs, the appearance and the preview's routing are kept where they are shown.
#pragma once

#include "app/shell/app_tab.h"

#include <QObject>
#include <QProperty>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

class AppViewModel;
class PolyToolsViewModel;
class StereoValidatorViewModel;

class SessionMemory : public QObject {
public:
    // Sets what was kept, and keeps from then on what changes. Everything outlives this.
    SessionMemory(QProperty<AppTab>& tab, AppViewModel& interleaver, PolyToolsViewModel& polyTools,
                  StereoValidatorViewModel& validator);

    // Whether the Interleaver's options were once folded or unfolded.
    bool knowsOptions() const;

private:
    void keep(const QString& key, QProperty<bool>& flag);
    template <class Value, class Values>
    void keep(const QString& key, QProperty<Value>& property, const Values& allowed);
    void keepInterleaver(AppViewModel& viewModel);
    void keepPolyTools(PolyToolsViewModel& viewModel);
    void keepValidator(StereoValidatorViewModel& viewModel);

    std::vector<QPropertyNotifier> notifiers_;
};

} // namespace ostrel
