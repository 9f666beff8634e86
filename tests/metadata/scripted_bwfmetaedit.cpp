#include "metadata/scripted_bwfmetaedit.h"

namespace ostrel::testing {
namespace {

// As with the original, an import changes the files that the document names and not the one on the command line: each
// of them gets a byte appended, a name without a folder being looked for in the working folder.
const QString kScript = QStringLiteral(R"sh(here=$(dirname "$0")
printf '%s\037' "$@" >> "$here/calls"; printf '\036' >> "$here/calls"
printf '%s\n' "$(pwd)" >> "$here/folders"
case "$1" in
    --out-core=-) kind=table ;;
    --out-core-xml=-) kind=xml ;;
    --out-core=*) kind=export ;;
    --in-core=*) kind=import ;;
    *) kind=apply ;;
esac
if [ -e "$here/$kind.error" ]; then cat "$here/$kind.error" >&2; exit $(cat "$here/$kind.status"); fi
case $kind in
    table|xml) [ ! -e "$here/$kind" ] || cat "$here/$kind" ;;
    export) [ ! -e "$here/export" ] || cp "$here/export" "${1#--out-core=}" ;;
    import)
        cp "${1#--in-core=}" "$here/imported"
        sed -n -e 's/^.*name="\([^"]*\)".*$/\1/p' -e 's/^"\([^"]*\)",.*$/\1/p' "$here/imported" |
            while read -r name; do printf x >> "$name"; done
        ;;
esac
exit 0)sh");

} // namespace

ScriptedBwfmetaedit::ScriptedBwfmetaedit(const TestFolder& folder, const QString& place)
    : folder_(folder), place_(place), path_(folder.writeScript(place + QStringLiteral("/bwfmetaedit"), kScript)) {}

void ScriptedBwfmetaedit::provide(const QString& kind, const QByteArray& contents) const {
    folder_.write(place_ + u'/' + kind, contents);
}

void ScriptedBwfmetaedit::failing(const QString& kind, int exitStatus, const QByteArray& standardError) const {
    folder_.write(QStringLiteral("%1/%2.error").arg(place_, kind), standardError);
    folder_.write(QStringLiteral("%1/%2.status").arg(place_, kind), QByteArray::number(exitStatus));
}

std::vector<QStringList> ScriptedBwfmetaedit::calls() const {
    std::vector<QStringList> result;
    if (!QFile::exists(folder_.path(place_ + QStringLiteral("/calls")))) return result;
    const QString text = QString::fromUtf8(readAll(folder_.path(place_ + QStringLiteral("/calls"))));
    for (const QString& call : text.split(QChar(0x1e), Qt::SkipEmptyParts)) {
        result.push_back(call.split(QChar(0x1f)));
        result.back().removeLast(); // behind the last end mark
    }
    return result;
}

QStringList ScriptedBwfmetaedit::workingFolders() const {
    return QString::fromUtf8(readAll(folder_.path(place_ + QStringLiteral("/folders"))))
        .split(u'\n', Qt::SkipEmptyParts);
}

QByteArray ScriptedBwfmetaedit::imported() const { return readAll(folder_.path(place_ + QStringLiteral("/imported"))); }

} // namespace ostrel::testing
