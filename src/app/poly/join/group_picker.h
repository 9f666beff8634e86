// Asks which group of the review files are to go to: a list that a typed word narrows down.
#pragma once

#include "polytools/state/join_state.h"

#include <QDialog>

class QLineEdit;
class QListWidget;
class QPushButton;

namespace ostrel {

class GroupPicker : public QDialog {
    Q_OBJECT

public:
    GroupPicker(const JoinState& join, int fileCount, QWidget* parent = nullptr);

Q_SIGNALS:
    void picked(const QUuid& group);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void fill();
    void narrow(const QString& word);
    void pick();

    const JoinState& join_;
    QLineEdit* word_;
    QListWidget* list_;
    QPushButton* move_;
};

} // namespace ostrel
