// What came of a run, in one line: a symbol, a title, and counts with their words.
#pragma once

#include "foundation/records/processing_status.h"

#include <QWidget>

namespace ostrel {

class ResultsBanner : public QWidget {
    Q_OBJECT

public:
    struct Entry {
        QString label; // "Created: "
        int count = 0;
        ProcessingStatus::Color color = ProcessingStatus::Color::green;
    };

    explicit ResultsBanner(QWidget* parent = nullptr);

    // No entries: nothing is shown. The symbol warns when an entry with a count is red.
    void setResults(const QString& title, const QList<Entry>& entries);
    bool isEmpty() const { return entries_.isEmpty(); }
    QString text() const; // all of it, as it is spoken
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool hasFailures() const;

    QString title_;
    QList<Entry> entries_;
};

} // namespace ostrel
