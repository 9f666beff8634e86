// The Interleaver's results: heading, bulk switches, counters and the table of the current mode.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "interleaver/app_view_model.h"

class QAbstractItemModel;
class QMenu;
class QStackedWidget;

namespace ostrel {

class DeinterleaveTableModel;
class InterleaveTableModel;
class RecordTable;
struct RowMenu;

class ItemsSection : public QWidget {
    Q_OBJECT

public:
    explicit ItemsSection(AppViewModel& viewModel, QWidget* parent = nullptr);

    QStringList recordings() const; // of all rows, each once
    QWidget& tables() const;        // where the tables of both modes stand
    RecordTable& table() const;     // of the current mode

    std::optional<QUuid> selectedInterleaveID;
    std::optional<QUuid> selectedDeinterleaveID;

Q_SIGNALS:
    void groupChosen(const ostrel::InterleaveGroup& group);
    void sourceChosen(const ostrel::MultiChannelSource& source);

private:
    QWidget* makeHeading();
    RecordTable* makeTable(QAbstractItemModel& model, const QString& name);
    void fitChannels();
    void choose(int record);
    void toggleInclude(int record);
    QStringList sourcesOf(bool merges, int record) const;
    RowMenu menuOf(bool merges);
    QList<int> failed() const;
    QList<int> rowsWhose(const std::function<bool(const ProcessingStatus&)>& matches) const;
    QString readyHelp() const;
    void addChips(QMenu& menu, int record);
    void refresh();

    AppViewModel& viewModel_;
    Bindings bindings_;
    InterleaveTableModel* groups_;
    DeinterleaveTableModel* sources_;
    RecordTable* interleaveTable_;
    RecordTable* deinterleaveTable_;
    QStackedWidget* tables_;
    QLabel* heading_;
    QPushButton* selectAll_;
    QPushButton* deselectAll_;
    QPushButton* clear_;
    QPushButton* retryFailed_;
    QPushButton* check_;
    StatusCounter* ready_;
    StatusCounter* done_;
    StatusCounter* skipped_;
    StatusCounter* errors_;
};

} // namespace ostrel
