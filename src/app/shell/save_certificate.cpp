#include "app/shell/save_certificate.h"

#include "custody/certificate.h"
#include "custody/run_document.h"
#include "platform/background.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/json_text.h"

namespace ostrel {
namespace {

// Asks the tools for their versions.
QString pageOf(const ProvenRun& run) {
    nlohmann::json items = nlohmann::json::array();
    for (const auto& [name, outcome] : run.items) items.push_back(itemDocument(name, outcome));
    return certificateOf({{"job", jsonText(run.job)}, {"items", items}, {"made", madeDocument(run.tools)}});
}

void tell(DesktopServices& desktop, const QString& title, const QString& text) {
    desktop.showAlert({AlertRequest::Style::informational, title, text, {}, 0});
}

} // namespace

QCoro::Task<> saveCertificate(QObject* owner, DesktopServices& desktop, ProvenRun run) {
    const QString title = QStringLiteral("No certificate");
    if (!run.isProven()) {
        tell(desktop, title,
             QStringLiteral("The last run of this tab proved nothing. Switch \"Prove that nothing changed\" on and run "
                            "again."));
        co_return;
    }
    const QString path = desktop.showSavePanel({QStringLiteral("Save the certificate of this run"),
                                                QStringLiteral("Certificate.html"),
                                                {QStringLiteral("html")}});
    if (path.isEmpty()) co_return;
    const auto write = [run = std::move(run), path] {
        try {
            files::writeAtomically(path, pageOf(run).toUtf8());
        } catch (const FileError& error) {
            return error.description;
        }
        return QString();
    };
    const QString failure = co_await inBackground(owner, write);
    if (!failure.isEmpty()) tell(desktop, title, failure);
}

} // namespace ostrel
