// The polys of a batch as a table: a line a poly, and under one that is expanded a line a channel. Which are expanded
// is the controller's to know. A changed poly costs O(1), a line is found in O(log n).
#pragma once

#include "app/controls/bindings.h"
#include "app/tables/repeated_names.h"
#include "polytools/poly_tools_view_model.h"

#include <QAbstractTableModel>
#include <QHash>
#include <vector>

namespace ostrel {

class BatchPolyModel : public QAbstractTableModel {
public:
    enum Column {
        ExpanderColumn,
        StatusColumn,
        NameColumn,
        ChannelsColumn,
        SampleRateColumn,
        DurationColumn,
        PreviewColumn,
        ResultColumn,
        ProofColumn,
        ColumnCount,
    };

    // A line is a poly's own, or that of one of its channels.
    struct Line {
        int poly = 0;
        int channel = -1; // zero-based
        bool isPoly() const { return channel < 0; }
    };

    explicit BatchPolyModel(PolyToolsViewModel& viewModel, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    Line lineAt(int row) const;
    int rowOf(int poly) const { return firstRow_[static_cast<std::size_t>(poly)]; }
    int polyCount() const { return static_cast<int>(expanded_.size()); }
    bool isExpanded(int poly) const { return expanded_[static_cast<std::size_t>(poly)]; }
    void setExpanded(int poly, bool isExpanded);
    void setAllExpanded(bool areExpanded);

    QString fileOf(int poly) const { return this->poly(poly).url; }
    ItemOutcome outcomeOf(int poly) const;
    QString errorOf(int poly) const; // of the last run; empty: none

private:
    struct Ended {
        ItemOutcome outcome{ProcessingStatus::ready()};
        OutputCounts counts;
    };
    void connectController();
    void appendPolys(int first, int last);
    void rebuild();
    void takeExpanded();
    int addName(int poly);
    void announceRows(int first, int last, int column);
    QVariant resultCell(int poly, int role) const;
    void insertOrRemove(int poly, bool isExpanded);
    void announcePoly(int poly);
    void takeResults();
    void followRun();
    void followPreview();
    const BatchPolyMetadata& poly(int index) const {
        return viewModel_.batchPolyMetadata[static_cast<std::size_t>(index)];
    }
    QVariant polyData(int poly, int column, int role) const;
    QVariant channelData(const Line& line, int column, int role) const;
    QString trackName(const Line& line) const;

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    std::vector<bool> expanded_;    // one a poly, as the views have been told
    std::vector<int> firstRow_{0};  // of each poly, and at the end the number of rows
    QHash<QString, Ended> results_; // of the last run, by path
    QHash<QString, int> polyAt_;    // by path
    RepeatedNames names_;
    int running_ = -1;
    int heard_ = -1; // the poly in the mixer
};

} // namespace ostrel
