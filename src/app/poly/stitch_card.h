// Takes of the source that a recorder wrote in several files, and one file of them on request. Not there while there
// are none.
#pragma once

#include "app/controls/controls.h"
#include "stitch/series.h"

#include <QCoro/QCoroTask>
#include <QStringList>
#include <vector>

class QLabel;
class QPushButton;

namespace ostrel {

class DesktopServices;

class StitchCard : public Card {
    Q_OBJECT

public:
    explicit StitchCard(DesktopServices& desktop, QWidget* parent = nullptr);

    // Files and folders. Their headers are read behind the main thread.
    void look(const QStringList& source);
    QString text() const;

private:
    QCoro::Task<> find(QStringList source);
    void stitch();

    DesktopServices& desktop_;
    QStringList source_;
    std::vector<Series> series_; // of more than one part
    QLabel* text_;
    TruncatingText* place_;
    QPushButton* button_;
};

// "Take 5, three parts, sample-exact", "T05, two parts, gap of 1,234 samples"
QString seriesText(const Series& series);

} // namespace ostrel
