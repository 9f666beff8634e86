#include "polytools/records/ffprobe_value.h"

#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"

#include <QStringList>

namespace ostrel {

QString ffprobeValue(const QString& ffprobePath, const QString& url, const QString& entry, FFProbeStreams streams) {
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error")};
    if (streams == FFProbeStreams::firstAudio) arguments << QStringLiteral("-select_streams") << QStringLiteral("a:0");
    arguments << QStringLiteral("-show_entries") << entry << QStringLiteral("-of") << QStringLiteral("csv=p=0") << url;
    const ProcessResult result = ChildProcess::runForResult(ffprobePath, arguments, limitsByFileSize({url}));
    return result.succeeded() ? result.outputText().trimmed() : QString();
}

} // namespace ostrel
