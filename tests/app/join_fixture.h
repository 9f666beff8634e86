// The Join mode's view over its real controller, a scripted desktop, the real tools, and a sound output whose every
// sample can be read afterwards.
#pragma once

#include "app/panels/run_row.h"
#include "app/poly/join/group_review_view.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/group_tree_model.h"
#include "app/poly/join/iso_list_section.h"
#include "app/poly/join/iso_table_model.h"
#include "app/poly/join/poly_join_view.h"
#include "app/tables/record_table.h"
#include "app/window_test.h"
#include "support/disk_output.h"
#include "support/wave_file.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <optional>

namespace ostrel::testing {

constexpr double kTrim = 0.5011872; // of every ISO that is heard without its poly

class JoinFixture : public ::testing::Test {
protected:
    JoinFixture();

    struct Told { // by the file's own iXML
        QByteArray scene;
        QByteArray take;
        int channel = 1;
        QByteArray track;
    };
    // A mono file that stands at one level, so that every mix of several tells which they are.
    QString iso(const QString& name, double level, const std::optional<Told>& told = std::nullopt, int frames = 4800,
                int sampleRate = 48000);
    // Two ISOs of one take.
    QStringList take(const QByteArray& number, double firstLevel, int frames = 4800);

    void choose(const QStringList& urls); // by the button and its panel
    void chooseOutput(const QString& folder);
    bool wait(); // until no task is under way
    static void settle();
    void click(const QString& accessibleName);
    void clickRow(QAbstractItemView& view, const QModelIndex& index, int column = -1, int x = 60);
    static void key(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    QAbstractButton& button(const QString& accessibleName);
    bool shows(const QString& text) const; // some visible label says it
    QString names() const;                 // of the ISOs in their order

    // The levels of a poly's channels, in order; empty if there is no such file.
    std::vector<double> levels(const QString& path) const;
    // What comes out of both sides from now on.
    std::pair<double, double> heardNow() const;

    TestFolder folder_;
    ScriptedDesktop desktop_;
    DiskOutput disk_;
    PolyToolsViewModel model_{desktop_, &disk_.output()};
    PolyJoinView view_{model_};
};

} // namespace ostrel::testing
