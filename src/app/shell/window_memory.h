// Where the window stood and how it was divided, kept in the user's settings: place and size, whether it filled the
// screen, the splitters, and the widths of the tables' columns.
//
// A place that no screen shows any more, or a size that none holds, is fitted again; so is the first start, whatever
// the screen: the foot of the window must be on it.
#pragma once

#include <QMargins>
#include <QObject>
#include <QRect>
#include <QTimer>

class QSplitter;
class QTableView;

namespace ostrel {

class WindowMemory : public QObject {
public:
    // To be made when all of the window's views are in it and before it is shown.
    explicit WindowMemory(QWidget& window);
    ~WindowMemory() override;

    // `wanted` with its frame, moved onto the screen that shows most of it (the first, if none does) and made no larger
    // than that. At least one screen.
    static QRect fitted(const QRect& wanted, const QList<QRect>& screens);

    // Whether the screen has not the height for all that the window would show.
    bool isLow() const;

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void restorePlace();
    void place(const QRect& frame, const QMargins& margins);
    void restoreSplitter(QSplitter& splitter);
    void restoreColumns(QTableView& table);
    void save();

    QWidget& window_;
    const QSize comfortable_; // the least size where the screen has the room
    QTimer soon_;
    bool isFitted_ = false; // to the frame that the window manager really drew
};

} // namespace ostrel
