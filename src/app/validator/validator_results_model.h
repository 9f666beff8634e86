// The results of an analysis as a person looks at them: filtered by class, in the order of the analysis.
#pragma once

#include "app/tables/repeated_names.h"
#include "foundation/records/record_list.h"
#include "stereovalidator/stereo_validator_result.h"

#include <QAbstractTableModel>
#include <optional>
#include <vector>

namespace ostrel {

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

    const StereoValidatorResult& record(int row) const;
    std::vector<int> classCounts() const; // in the order of the enumeration

private:
    void rebuild();
    static QVariant sortValue(const StereoValidatorResult& result, int column);

    const RecordList<StereoValidatorResult>& results_;
    std::vector<QString> names_; // of all results: the last path component
    RepeatedNames repeated_;
    std::vector<std::size_t> visible_; // rows of the list that the class lets through
    std::optional<StereoClassification> filter_;
};

} // namespace ostrel
