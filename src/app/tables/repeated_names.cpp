#include "app/tables/repeated_names.h"

namespace ostrel {
namespace {

QString folderOf(const QString& path) { return path.first(path.lastIndexOf(u'/') + 1); }

QString commonFolder(const QString& a, const QString& b) {
    qsizetype end = 0;
    for (qsizetype at = 0; at < a.size() && at < b.size() && a[at] == b[at]; ++at) {
        if (a[at] == u'/') end = at + 1;
    }
    return a.first(end);
}

} // namespace

int RepeatedNames::add(const QString& path, const QString& name, int row) {
    Same& same = names_[name];
    if (++same.count == 1) {
        same.row = row;
        same.ancestor = folderOf(path);
        return kNone;
    }
    const QString before = same.ancestor;
    same.ancestor = commonFolder(before, folderOf(path));
    if (same.count == 2) return same.row;
    return same.ancestor == before ? kNone : kAny;
}

QString RepeatedNames::shown(const QString& path, const QString& name) const {
    const auto same = names_.constFind(name);
    if (same == names_.cend() || same->count < 2) return name;
    return folderOf(path).mid(same->ancestor.size()) + name;
}

} // namespace ostrel
