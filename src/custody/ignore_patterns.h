// Which entries of a folder a seal passes over: patterns in the syntax of git's ignore files.
//
// The last pattern that matches decides, "!" takes an earlier one back; an entry of a folder that is passed over can't
// be taken back. ".DS_Store" and "ascmhl" are always passed over. For any thread.
#pragma once

#include <QString>
#include <QStringList>
#include <string>
#include <vector>

namespace ostrel {

// What every list names ahead of a person's own.
QStringList alwaysIgnored();

class IgnorePatterns {
public:
    IgnorePatterns() = default;
    explicit IgnorePatterns(const QStringList& patterns);

    // Of an entry whose folders are not ignored; the path counts from the sealed folder.
    bool isIgnored(const QString& path, bool isFolder) const;
    // Of a file, by way of any of its folders too.
    bool isFileIgnored(const QString& path) const;

    // Whether a pattern goes by the place in the folder it was made for, and means nothing within a subfolder.
    static bool isAnchored(const QString& pattern);

private:
    struct Pattern {
        std::vector<std::u32string> segments; // of the path; "**": any number of folders
        bool isNegative = false;
        bool foldersOnly = false;
    };
    static bool parse(const QString& text, Pattern& into);

    std::vector<Pattern> patterns_;
};

} // namespace ostrel
