// report-proof: the certificate of a run, from the document that the run printed.
#include "cli/command.h"
#include "cli/commands.h"
#include "custody/certificate.h"
#include "platform/files/files.h"

#include <QCryptographicHash>
#include <QFile>

namespace ostrel::cli {
namespace {

struct ReportProofOptions {
    TerminalOptions terminal;
    std::string run;
    std::string html;
    bool overwrite = false;
};

// A document of a run over many thousand files stays far below this.
constexpr qint64 kLongestDocument = 1 << 30;

QString pageOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) throw CertificateError(file.errorString());
    if (file.size() > kLongestDocument) throw CertificateError(QStringLiteral("this is not the document of a run"));
    const QByteArray bytes = file.readAll();
    const nlohmann::json run = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (run.is_discarded()) throw CertificateError(QStringLiteral("this is no whole JSON document"));
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return certificateOf(run, QString::fromLatin1(digest.toHex()));
}

int writeCertificate(const QString& run, const QString& html, bool mayReplace, Terminal& terminal) {
    try {
        const QString page = pageOf(run);
        if (!mayReplace && paths::exists(html)) {
            terminal.error(QStringLiteral("%1 is there already; --overwrite replaces it").arg(html));
            return someItemFailed;
        }
        files::writeAtomically(html, page.toUtf8());
        terminal.line(QStringLiteral("Certificate saved: ") + html);
        return allDone;
    } catch (const CertificateError& error) {
        terminal.error(QStringLiteral("%1: %2").arg(run, error.description));
    } catch (const FileError& error) {
        terminal.error(error.description);
    }
    return someItemFailed;
}

int runReportProof(const ReportProofOptions& options) {
    Terminal terminal(options.terminal);
    const std::optional<QStringList> paths = existingPaths({options.run}, terminal);
    if (!paths) return badUsage;
    const QString html = paths::absolute(QString::fromStdString(options.html));
    // With --overwrite a slip of the hand must not cost a recording.
    const bool isPage =
        QStringList{QStringLiteral("html"), QStringLiteral("htm")}.contains(paths::lowerExtension(html));
    if (!isPage || paths::isFolder(html)) {
        terminal.error(QStringLiteral("the page needs a name that ends with .html: ") + html);
        return badUsage;
    }
    return writeCertificate(paths->first(), html, options.overwrite, terminal);
}

} // namespace

void addReportProofCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "report-proof",
                      "Make a certificate, one page to print, of the document of a run that was asked for --proof",
                      "  ostrel-cli split --proof --json Take.wav > run.json\n"
                      "  ostrel-cli report-proof run.json --html certificate.html");
    const auto options = std::make_shared<ReportProofOptions>();
    command->add_option("RUN", options->run, "What the run printed with --json and --proof")->required();
    command->add_option("--html", options->html, "The page")->required();
    command->add_flag("--overwrite", options->overwrite, "Replace a page that is there already");
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return runReportProof(*options); }; });
}

} // namespace ostrel::cli
