#include "delivery/fix_run.h"

#include "platform/files/files.h"
#include "platform/paths.h"

namespace ostrel {

FixedRecording FixRun::take(const QString& recording) {
    const std::optional<FileStamp> seen = FileStamp::of(recording);
    FixedRecording fixed{.path = recording,
                         .plan = planFixes(recording, options_.reader),
                         .status = QStringLiteral("nothing to correct")};
    try {
        if (!fixed.plan.edits.empty() && seen) carryOut(fixed, *seen);
    } catch (const FileError& failure) {
        fixed.status = QStringLiteral("failed");
        fixed.hasFailed = true;
        fixed.error = failure.description;
    }
    return fixed;
}

void FixRun::carryOut(FixedRecording& fixed, const FileStamp& seen) {
    if (options_.dryRun) {
        fixed.status = QStringLiteral("would be corrected");
    } else if (options_.inPlace) {
        fixed.remarks = ledger_.prepareFolder(paths::parent(fixed.path));
        fixInPlace(fixed.path, fixed.plan, seen, journal_);
        fixed.isCorrected = true;
        fixed.status = QStringLiteral("corrected");
    } else {
        writeCopy(fixed);
    }
}

void FixRun::writeCopy(FixedRecording& fixed) {
    const QString folder = options_.output.isEmpty()
                               ? paths::append(paths::parent(fixed.path), QStringLiteral("Corrected"))
                               : options_.output;
    const QString output = paths::append(folder, paths::lastComponent(fixed.path));
    fixed.remarks = ledger_.prepareFolder(folder);
    const WritePermission permission = ledger_.mayWrite(output, ExistingOutput::skipped);
    if (permission.kind == WritePermission::Kind::exists) {
        fixed.status = QStringLiteral("skipped: %1 is there already").arg(output);
        return;
    }
    if (!permission.isGranted()) throw FileError(permission.reason);
    writeFixedCopy(fixed.path, fixed.plan, output);
    ledger_.noteWritten(output);
    fixed.output = output;
    fixed.status = QStringLiteral("corrected copy");
}

} // namespace ostrel
