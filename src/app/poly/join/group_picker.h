// Asks which group of the review files are to go to: a list that a typed word narrows down.
#pragma once

#include "polytools/poly_tools_view_model.h"

#include <QDialog>

class QLineEdit;
class QListWidget;
class QPushButton;

namespace ostrel {

class GroupPicker : public QDialog {
    Q_OBJECT

public:
    explicit GroupPicker(PolyToolsViewModel& viewModel, int fileCount, QWidget* parent = nullptr);

Q_SIGNALS:
    void picked(const QUuid& group);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void fill();
    void narrow(const QString& word);
    void pick();

    PolyToolsViewModel& viewModel_;
    QLineEdit* word_;
    QListWidget* list_;
    QPushButton* move_;
};

} // namespace ostrel
