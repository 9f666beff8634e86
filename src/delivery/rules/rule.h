// The rules that a recording for other people's programs is looked at by: one table, of which the findings, the command
// line's help and docs/rules.md are made.
#pragma once

#include <QString>
#include <span>
#include <vector>

namespace ostrel {

// Who reads the files: rules for one of them are asked for by name, all others hold everywhere.
enum class Reader { anybody, avid, proTools, finalCut, archive };

enum class Severity {
    note,    // good to know; nothing is wrong
    warning, // somebody will be misled, or has to work by hand
    error,   // a reader refuses the file or takes it for something else
};

struct Rule {
    const char* id;
    Reader reader;
    Severity severity;
    const char* says;   // what is wrong, for a person
    const char* source; // of the rule
    bool hasOneAnswer;  // so that a correction can be made without asking
};

struct Finding {
    const Rule* rule = nullptr; // of the table
    QString path;
    QString field;    // "bext Description", "iXML SCENE"
    QString found;    // what is there
    QString expected; // what should be
};

std::span<const Rule> allRules();
// A rule of the table; ends the program for an id that is not in it.
const Rule& ruleNamed(const char* id);

QString wordOf(Severity severity); // "error"
QString wordOf(Reader reader);     // "avid"; empty for anybody

// The table as a page of Markdown.
QString rulesAsMarkdown();

// Findings of one file as they are found; those for other readers are left out.
class Findings {
public:
    Findings(QString path, Reader reader) : path_(std::move(path)), reader_(reader) {}

    void add(const char* id, const QString& field, const QString& found, const QString& expected);
    Reader reader() const { return reader_; }
    std::vector<Finding> taken() { return std::move(list_); }

private:
    QString path_;
    Reader reader_;
    std::vector<Finding> list_;
};

} // namespace ostrel
