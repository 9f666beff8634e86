#include "custody/certificate.h"

#include "platform/paths.h"
#include "platform/text/text.h"

#include <QStringList>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using Json = nlohmann::json;

constexpr const char* kStyle = R"(
body { font: 10.5pt/1.4 sans-serif; color: #111; background: #fff; margin: 2em auto; max-width: 64em; padding: 0 1em; }
h1 { font-size: 1.5em; margin: 0 0 .2em; } h2 { font-size: 1.05em; margin: 1.6em 0 .3em; }
.verdict { font-size: 1.15em; font-weight: bold; border: 2px solid; padding: .5em .8em; margin: 1em 0; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .1em 1em; } dt { color: #444; } dd { margin: 0; }
table { border-collapse: collapse; width: 100%; } td, th { border: 1px solid #999; padding: .2em .45em; text-align: left;
vertical-align: top; overflow-wrap: anywhere; } th { background: #eee; } code { font: .92em monospace; }
section { break-inside: avoid-page; } footer { margin-top: 2em; color: #444; font-size: .9em; }
@media print { body { margin: 0; max-width: none; } }
)";

// Documents may come from anywhere: what is missing or of another kind reads as nothing.
QString textOf(const Json& object, const char* key) {
    const auto found = object.is_object() ? object.find(key) : object.end();
    if (!object.is_object() || found == object.end()) return {};
    if (found->is_string()) return QString::fromStdString(found->get<std::string>());
    return found->is_number_integer() ? QString::number(found->get<qint64>()) : QString();
}

const Json& partOf(const Json& object, const char* key) {
    static const Json nothing;
    if (!object.is_object()) return nothing;
    const auto found = object.find(key);
    return found == object.end() ? nothing : *found;
}

QStringList listOf(const Json& object, const char* key) {
    QStringList result;
    for (const Json& entry : partOf(object, key)) {
        if (entry.is_string()) result << QString::fromStdString(entry.get<std::string>());
    }
    return result;
}

QString escaped(const QString& text) { return text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")); }

QString cells(const char* tag, const QStringList& texts) {
    QString row;
    for (const QString& text : texts) row += QStringLiteral("<%1>%2</%1>").arg(QLatin1String(tag), text);
    return QStringLiteral("<tr>%1</tr>\n").arg(row);
}

QString entry(const QString& name, const QString& value) {
    if (value.isEmpty()) return {};
    return QStringLiteral("<dt>%1</dt><dd>%2</dd>\n").arg(name, escaped(value));
}

// The state of a proof, told by a sign and a word, so that it survives a black and white print.
QString shownFinding(const QString& finding) {
    if (finding == QStringLiteral("identical")) return QStringLiteral("✓ identical");
    if (finding == QStringLiteral("differs")) return QStringLiteral("✗ DIFFERS");
    return finding.isEmpty() ? QStringLiteral("not proven") : QStringLiteral("? ") + escaped(finding);
}

// How many items came to what.
struct Tally {
    int identical = 0;
    int differs = 0;
    int unproven = 0; // asked, and not to be told; or files without any proof
    int failed = 0;   // for another reason
    int skipped = 0;
    int left = 0; // that no run took: incomplete, mismatched

    void add(const Json& item) {
        const QString audio = textOf(partOf(item, "proof"), "audio");
        const QString status = textOf(item, "status");
        if (audio == QStringLiteral("differs")) {
            ++differs;
        } else if (status == QStringLiteral("skipped")) {
            ++skipped;
        } else if (status == QStringLiteral("failed")) {
            ++failed;
        } else if (audio == QStringLiteral("identical")) {
            ++identical;
        } else if (!audio.isEmpty() || !listOf(item, "outputs").isEmpty()) {
            ++unproven;
        } else {
            ++left;
        }
    }
    bool isWhole() const { return identical > 0 && differs + unproven + failed == 0; }

    QString verdict() const {
        const QString items = QStringLiteral("%1 %2").arg(identical).arg(plural("item", identical));
        if (isWhole()) {
            return QStringLiteral("✓ Certified: every channel of %1 is identical to that of its source.").arg(items);
        }
        QStringList rest;
        if (differs > 0) rest << QStringLiteral("%1 differ").arg(differs);
        if (unproven > 0) rest << QStringLiteral("%1 could not be proven").arg(unproven);
        if (failed > 0) rest << QStringLiteral("%1 failed").arg(failed);
        return QStringLiteral("✗ Not certified as a whole: %1 identical to the sources; %2.")
            .arg(items, rest.isEmpty() ? QStringLiteral("nothing else was made") : rest.join(QStringLiteral(", ")));
    }
};

QString channelRow(const Json& channel) {
    const QString sourceChannel = textOf(channel, "sourceChannel");
    const QString reason = textOf(channel, "reason");
    const QString finding = shownFinding(textOf(channel, "audio"));
    return cells("td",
                 {escaped(paths::lastComponent(textOf(channel, "output"))), escaped(textOf(channel, "outputChannel")),
                  escaped(paths::lastComponent(textOf(channel, "source"))),
                  sourceChannel.isEmpty() ? QStringLiteral("all, mixed") : escaped(sourceChannel),
                  QStringLiteral("<code>%1</code>").arg(escaped(textOf(channel, "xxh128"))),
                  reason.isEmpty() ? finding : finding + QStringLiteral("<br>") + escaped(reason)});
}

QString channelTable(const Json& channels) {
    if (!channels.is_array() || channels.empty()) return {};
    QString table = QStringLiteral("<table>\n") +
                    cells("th", {QStringLiteral("Output"), QStringLiteral("Channel"), QStringLiteral("Source"),
                                 QStringLiteral("Channel"), QStringLiteral("XXH128 of both"), QStringLiteral("Audio")});
    for (const Json& channel : channels) table += channelRow(channel);
    return table + QStringLiteral("</table>\n");
}

QString fatesOf(const Json& item) {
    QStringList fates;
    for (const Json& source : partOf(item, "fates")) {
        const QString movedTo = textOf(source, "movedTo");
        fates << QStringLiteral("%1: %2%3")
                     .arg(textOf(source, "source"), textOf(source, "fate"),
                          movedTo.isEmpty() ? QString() : QStringLiteral(" to ") + movedTo);
    }
    return fates.join(u'\n');
}

QString itemSection(const Json& item) {
    const Json& proof = partOf(item, "proof");
    const Json& metadata = partOf(proof, "metadata");
    QString section = QStringLiteral("<section>\n<h2>%1</h2>\n<dl>\n").arg(escaped(textOf(item, "name")));
    section += entry(QStringLiteral("Status"), textOf(item, "statusText"));
    section += entry(QStringLiteral("Sources"), fatesOf(item));
    section += entry(QStringLiteral("Outputs"), listOf(item, "outputs").join(u'\n'));
    section += QStringLiteral("<dt>Audio</dt><dd>%1</dd>\n").arg(shownFinding(textOf(proof, "audio")));
    for (const auto& [key, name] : {std::pair{"kept", "Metadata kept"},
                                    {"renewed", "Metadata renewed"},
                                    {"changed", "Metadata changed"},
                                    {"lost", "Metadata lost"}}) {
        section += entry(QString::fromLatin1(name), listOf(metadata, key).join(QStringLiteral(", ")));
    }
    section += entry(QStringLiteral("Warnings"), listOf(item, "warnings").join(u'\n'));
    return section + QStringLiteral("</dl>\n") + channelTable(partOf(proof, "channels")) +
           QStringLiteral("</section>\n");
}

QString toolLines(const Json& made) {
    QStringList lines;
    const Json& tools = partOf(made, "tools");
    if (!tools.is_object()) return {};
    for (const auto& [name, version] : tools.items()) {
        if (version.is_string()) lines << QString::fromStdString(version.get<std::string>());
    }
    return lines.join(u'\n');
}

} // namespace

QString certificateOf(const Json& run, const QString& digest) {
    const Json& items = partOf(run, "items");
    const QString job = textOf(run, "job");
    if (job.isEmpty() || !items.is_array()) throw CertificateError(QStringLiteral("this is not the document of a run"));
    Tally tally;
    QString sections;
    bool isProven = false;
    for (const Json& item : items) {
        tally.add(item);
        isProven = isProven || partOf(item, "proof").is_object();
        sections += itemSection(item);
    }
    if (!isProven) throw CertificateError(QStringLiteral("this run was not asked for proof: repeat it with --proof"));
    const Json& made = partOf(run, "made");
    QString page = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<title>Certificate of a run: %1</title>\n<style>%2</style>\n</head>\n<body>\n")
                       .arg(escaped(job), QLatin1String(kStyle));
    page += QStringLiteral("<h1>Certificate of a run</h1>\n<p class=\"verdict\">%1</p>\n<dl>\n").arg(tally.verdict());
    page += entry(QStringLiteral("Job"), job);
    page += entry(QStringLiteral("Date"), textOf(made, "date"));
    page += entry(QStringLiteral("Machine"), textOf(made, "host"));
    page += entry(QStringLiteral("Program"), textOf(made, "program"));
    page += entry(QStringLiteral("Tools"), toolLines(made));
    page += entry(QStringLiteral("Items"),
                  QStringLiteral("%1 identical, %2 different, %3 unproven, %4 failed, %5 skipped, %6 not taken")
                      .arg(tally.identical)
                      .arg(tally.differs)
                      .arg(tally.unproven)
                      .arg(tally.failed)
                      .arg(tally.skipped)
                      .arg(tally.left));
    page += entry(QStringLiteral("SHA-256 of the run's document"), digest);
    page += QStringLiteral("</dl>\n") + sections;
    return page +
           QStringLiteral("<footer>Every output was read back from the disk after it was written. XXH128 is taken of "
                          "the bytes of each channel's samples, in file order. This page repeats what the run found; "
                          "“ostrel-cli hash” tells whether a file still is what it was.</footer>\n</body>\n</html>\n");
}

} // namespace ostrel
