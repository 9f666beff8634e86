// Above a tab's page: whether its source is sealed, with "Verify", and after a run that made files, "Seal...". Not
// there while there is nothing to say. Into the tab's log goes that a run will write into a sealed folder, and the
// generation that is added behind one which renamed or changed recordings in one.
#pragma once

#include "app/controls/controls.h"
#include "app/shell/custody_dialog.h"
#include "platform/files/file_stamp.h"

#include <QCoro/QCoroTask>
#include <QWidget>
#include <functional>
#include <map>

namespace ostrel {

class TabPage;
struct SealGlance;

// One sentence, the folder that it is about, and what can be done.
class CustodyLine : public Card {
    Q_OBJECT

public:
    CustodyLine(const QString& symbol, const QString& action, QWidget* parent = nullptr);

    void appear(const QString& text, const QString& folder);
    const QString& folder() const { return folder_; }
    QString text() const;

Q_SIGNALS:
    void chosen();

private:
    QString folder_;
    QLabel* text_;
    TruncatingText* place_;
    QPushButton* button_;
};

class CustodyBanner : public QWidget {
    Q_OBJECT

public:
    // Follows `page`. The disk is looked at behind the main thread.
    explicit CustodyBanner(TabPage& page, QWidget* parent = nullptr);

    // Opens the dialog; set by the window. An empty folder: none is certain, so a person chooses.
    std::function<void(CustodyDialog::Work, const QString& folder)> keep;

private:
    QCoro::Task<> lookAtSource();
    QCoro::Task<> offerSeal();
    QCoro::Task<> announce();   // of a scan or a job that begins: each sentence once
    QCoro::Task<> renewSeals(); // one at a time, since a chain takes one generation at a time
    void runChanged(bool isBusy);
    void act(CustodyDialog::Work work, const QString& folder);
    void showLines();

    TabPage& page_;
    QString source_;       // that was looked at last
    QStringList standing_; // what was shown as made when the running job or scan began; a run takes that back
    QStringList announced_;
    std::map<QString, FileStamp> renewed_; // as a generation has them: a scan behind a run touches nothing
    bool isRenewing_ = false;
    bool renewsAgain_ = false;
    CustodyLine* sealed_;
    CustodyLine* offer_;
};

} // namespace ostrel
