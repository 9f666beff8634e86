// The results of an analysis as a person looks at them: filtered by class, sorted by a column.
#pragma once

#include "foundation/records/record_list.h"
#include "stereovalidator/stereo_validator_result.h"

#include <QAbstractTableModel>
#include <optional>
#include <vector>

namespace ostrel {

enum class SortOrder { filename, classification, correlation, confidence };

class ValidatorResultsModel : public QAbstractTableModel {
public:
    enum Column {
        FileColumn,
        CodecColumn,
        ClassificationColumn,
        CorrelationColumn,
        ConfidenceColumn,
        LagColumn,
        MidSideColumn,
        DurationColumn,
        TrustColumn,
        WhyColumn,
        ProofColumn,
        ColumnCount,
    };

    explicit ValidatorResultsModel(const RecordList<StereoValidatorResult>& results, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    std::optional<StereoClassification> selectedClassification() const { return filter_; }
    void setSelectedClassification(std::optional<StereoClassification> classification);

    SortOrder sortOrder() const { return sortOrder_; }
    bool sortAscending() const { return sortAscending_; }
    // The same order again turns its direction round.
    void chooseSortOrder(SortOrder order);
    static std::optional<SortOrder> sortOrderOf(int column);
    static int columnOf(SortOrder order);

    const StereoValidatorResult& record(int row) const;
    std::vector<StereoValidatorResult> sortedAndFilteredResults() const;
    std::vector<int> classCounts() const; // in the order of the enumeration

private:
    void rebuild();
    void sortRows();

    const RecordList<StereoValidatorResult>& results_;
    std::vector<QString> names_;       // of all results: the last path component
    std::vector<std::size_t> visible_; // rows of the list, in the order that is shown
    std::optional<StereoClassification> filter_;
    SortOrder sortOrder_ = SortOrder::filename;
    bool sortAscending_ = true;
};

} // namespace ostrel
