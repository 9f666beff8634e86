// The findings of a check as a table.
#pragma once

#include "delivery/check_run.h"

#include <QAbstractTableModel>

namespace ostrel {

class FindingsModel : public QAbstractTableModel {
public:
    enum Column {
        SeverityColumn,
        FileColumn,
        FieldColumn,
        FoundColumn,
        ExpectedColumn,
        RuleColumn,
        SourceColumn,
        ColumnCount
    };

    using QAbstractTableModel::QAbstractTableModel;

    void setFiles(std::vector<CheckedFile> files);
    const std::vector<CheckedFile>& files() const { return files_; }
    const Finding& finding(int row) const { return *rows_[static_cast<std::size_t>(row)]; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<CheckedFile> files_;
    std::vector<const Finding*> rows_; // of all files, in their order
};

} // namespace ostrel
