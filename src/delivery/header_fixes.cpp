#include "delivery/header_fixes.h"

#include "delivery/rules/file_rules.h"
#include "foundation/chunks/chunk_bytes.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/in_place.h"
#include "metadata/bext/description_lines.h"
#include "platform/files/replacement.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "wave/channel_copy.h"

#include <QFile>
#include <QFileInfo>
#include <string_view>

namespace ostrel {
namespace {

constexpr qint64 kMask = 20; // offsets in the payloads of fmt and bext
constexpr qint64 kDescription = 256;
constexpr qint64 kDate = 320;
constexpr qint64 kTime = 330;

// The chunks of one file while their corrections are put together.
class Plan {
public:
    explicit Plan(const QString& recording) : chunks_(recording) {
        bext_ = old("bext");
        ixml_ = old("iXML");
    }

    void take(const Finding& finding) {
        const std::string_view id = finding.rule->id;
        const QByteArray right = finding.expected.toUtf8();
        bool isDone = false;
        if (id == "fmt.mono-mask") isDone = clearMask();
        if (id == "bext.date-form") isDone = put(kDate, right, 10);
        if (id == "bext.time-form") isDone = put(kTime, right, 8);
        if (id == "bext.line-ends") isDone = describe({}, true);
        if (id == "ixml.track-count") isDone = setNumber("TRACK_COUNT", finding.found, right);
        if (id == "ixml.bit-depth") isDone = setNumber("AUDIO_BIT_DEPTH", finding.found, right);
        if (id.starts_with("agree."))
            isDone = describe({{finding.field.section(u' ', -1).toUtf8(), encoded(finding.expected)}}, false);
        if (isDone) {
            result_.fixes.push_back({finding.rule, finding.field, finding.found, finding.expected});
        } else {
            result_.left
                << (finding.expected.isEmpty()
                        ? QStringLiteral("%1 stays: %2 can't be read").arg(finding.field, finding.found)
                        : QStringLiteral("%1 stays: there is no room for %2").arg(finding.field, finding.expected));
        }
    }

    HeaderFixes taken() {
        addEdit("bext", bext_);
        addEdit("iXML", ixml_);
        return std::move(result_);
    }

private:
    QByteArray old(const char* id) const { return chunks_.bytes(id).value_or(QByteArray()); }

    void addEdit(const char* id, const QByteArray& now) {
        const auto place = chunks_.find(id);
        if (!place || now == old(id)) return;
        result_.edits.push_back({static_cast<std::uint64_t>(place->payload), now.toStdString()});
    }

    bool clearMask() {
        const auto place = chunks_.find("fmt ");
        if (!place || place->size < kMask + 4) return false;
        result_.edits.push_back({static_cast<std::uint64_t>(place->payload + kMask), std::string(4, '\0')});
        return true;
    }

    bool put(qint64 offset, const QByteArray& text, qsizetype size) {
        if (text.size() != size || bext_.size() < offset + size) return false;
        bext_.replace(offset, size, text);
        return true;
    }

    bool describe(const QMap<QByteArray, QByteArray>& values, bool endsWithCrLf) {
        if (bext_.size() < kDescription) return false;
        const auto field = descriptionWith(bext_.first(kDescription), values, endsWithCrLf);
        if (field) bext_.replace(0, kDescription, *field);
        return field.has_value();
    }

    // Recorders write a Description in UTF-8 or in Latin-1, which is told by what is there.
    QByteArray encoded(const QString& text) const {
        return decodeUtf8(bext_.first(std::min<qsizetype>(kDescription, bext_.size()))) ? text.toUtf8()
                                                                                        : text.toLatin1();
    }

    // The only such element, by its text; one that grows takes blanks from the document's end.
    bool setNumber(const char* tag, const QString& found, const QByteArray& right) {
        const QByteArray name = tag;
        const QByteArray before = '<' + name + '>';
        const qsizetype start = ixml_.indexOf(before) + before.size();
        const qsizetype end = ixml_.indexOf("</" + name + '>', start);
        if (start < before.size() || end < start || ixml_.indexOf(before, start) >= 0) return false;
        if (ixml_.mid(start, end - start).trimmed() != found.toUtf8()) return false;
        QByteArray changed = ixml_;
        changed.replace(start, end - start, right);
        while (changed.size() > ixml_.size() && QByteArrayView(" \n\r\t\0", 5).contains(changed.back()))
            changed.chop(1);
        if (changed.size() > ixml_.size()) return false;
        ixml_ = changed.leftJustified(ixml_.size(), ' ');
        return true;
    }

    WaveChunks chunks_;
    QByteArray bext_;
    QByteArray ixml_;
    HeaderFixes result_;
};

[[noreturn]] void refuse(const QString& recording, const QString& why) {
    throw FileError(QStringLiteral("%1 is left as it is: %2").arg(paths::lastComponent(recording), why));
}

// The copy is there: the edits, and then that they are all in which it differs.
void editAndCompare(const QString& recording, const HeaderFixes& plan, const NewFile& copy) {
    const std::string made = QFile::encodeName(copy.path()).toStdString();
    try {
        applyEdits(plan.edits, made);
        if (!isEditOf(made, QFile::encodeName(recording).toStdString(), plan.edits)) {
            refuse(recording, QStringLiteral("the corrected copy differs from it"));
        }
    } catch (const CopyError& error) {
        refuse(recording, QString::fromUtf8(error.what()));
    }
}

} // namespace

HeaderFixes planFixes(const QString& recording, Reader reader) {
    Findings findings(recording, reader);
    checkFile(readRecordingFacts(recording), findings);
    Plan plan(recording);
    for (const Finding& finding : findings.taken()) {
        if (finding.rule->hasOneAnswer) plan.take(finding);
    }
    return plan.taken();
}

void writeFixedCopy(const QString& recording, const HeaderFixes& plan, const QString& output) {
    NewFile copy(output);
    files::copy(recording, copy.path());
    QFile::setPermissions(copy.path(), QFile::permissions(copy.path()) | QFileDevice::WriteUser);
    editAndCompare(recording, plan, copy);
    copy.publish(NewFile::Over::nothing, true);
}

void fixInPlace(const QString& file, const HeaderFixes& plan, const FileStamp& seen, Journal& journal) {
    const QString recording = QFileInfo(file).canonicalFilePath(); // a link stays a link to the new file
    if (recording.isEmpty() || FileStamp::of(recording) != seen)
        refuse(file, QStringLiteral("it was changed meanwhile"));
    requireReplaceable(recording);
    if (const QString why = unexplainedBytesOf(recording); !why.isEmpty()) refuse(recording, why);
    NewFile copy(recording);
    copyForChanges(copy);
    editAndCompare(recording, plan, copy);
    takePlace(copy, seen, journal, QStringLiteral("its header was corrected"));
}

} // namespace ostrel
