#include "foundation/run/output_file.h"

#include "foundation/proof/glance.h"
#include "platform/paths.h"

namespace ostrel {

OutputFile::OutputFile(RunLedger& ledger, const QString& path, ExistingOutput rule,
                       const std::function<bool()>& isEarlierOutput)
    : ledger_(ledger), path_(path), permission_(ledger.mayWrite(path, rule, isEarlierOutput)) {
    if (permission_.isGranted()) file_.emplace(path);
}

OutputFile::End OutputFile::finish(const std::vector<ChannelPair>& pairs, Check check, bool isDurable) {
    End end = compared(pairs, check);
    if (!end.failure.isEmpty()) return end;
    try {
        file_->publish(permission_.replaces ? NewFile::Over::oldFile : NewFile::Over::nothing, isDurable);
        ledger_.noteWritten(path_);
    } catch (const NameTakenError& error) {
        end.failure = error.description;
        end.nameWasTaken = true;
    } catch (const FileError& error) {
        end.failure = error.description;
    }
    return end;
}

OutputFile::End OutputFile::compared(const std::vector<ChannelPair>& pairs, Check check) const {
    using Kind = ChannelFinding::Kind;
    const Glance glance = glanceAt(pairs);
    const QString name = paths::lastComponent(path_);
    const QStringList unlike = glance.names(Kind::unlike, false);
    const auto failed = [](const QString& why) { return End{why, {}, false, false}; };
    if (!paths::exists(unfinished())) return failed(QStringLiteral("%1 was not created").arg(name));
    const QStringList faults = glance.shortOutputs + glance.brokenOutputs;
    if (!faults.isEmpty()) return failed(namingFinal(faults.first()));
    if (glance.has(Kind::unread)) return failed(QStringLiteral("%1 can't be read back").arg(name));
    if (glance.misread()) return failed(misreadSentence(unlike));
    const QStringList differing = glance.names(Kind::different, false) + unlike;
    const QStringList wrong = check == Check::exact ? differing : check == Check::strict ? unlike : QStringList();
    if (!wrong.isEmpty()) {
        return failed(QStringLiteral("%1 has not got the sound of %2").arg(name, wrong.join(QStringLiteral(", "))));
    }
    End end{QString(), glance.unequalSources, false, differing.isEmpty() && glance.unequalSources.isEmpty()};
    if (!differing.isEmpty()) {
        end.warnings << QStringLiteral("%1: the samples of %2 are not those of the source: ffmpeg converted or "
                                       "reordered the channels on the way")
                            .arg(name, differing.join(QStringLiteral(", ")));
    }
    return end;
}

} // namespace ostrel
