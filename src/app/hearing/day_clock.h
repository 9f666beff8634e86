// The timecode of day of what is heard, where its file says when it began: samples since midnight (bext) and the rate
// of labels (iXML, else the Description). Main thread; headers are read behind it.
#pragma once

#include "foundation/records/timecode.h"
#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>
#include <optional>

namespace ostrel {

class DayClock : public QObject {
    Q_OBJECT

public:
    explicit DayClock(QObject* parent = nullptr) : QObject(parent) {}
    ~DayClock() override { reading_.cancel(); }

    // The first of them that says it counts; previews of a recording don't, the recording does.
    void setFiles(const QStringList& files);

    bool isKnown() const { return start_.has_value(); }
    QString label(double seconds) const; // "13:36:06:04"; empty where nothing is known
    QString rate() const;                // "25", "29.97 DF"

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> read(QStringList files, TaskHandle task);

    QStringList files_;
    TaskHandle reading_;
    std::optional<TimecodeOfDay> start_;
};

} // namespace ostrel
