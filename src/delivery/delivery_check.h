// Looks at recordings as the programs will that they are handed on to: file by file, and then across all of them.
//
//   DeliveryCheck check(options);
//   per file, on any thread: check.look(path)   once all are: check.across()
//
// Memory grows by some hundred bytes a file. Recordings are read only.
#pragma once

#include "delivery/rules/rule.h"
#include "foundation/records/timecode.h"

#include <QByteArray>
#include <QString>
#include <mutex>
#include <optional>
#include <vector>

namespace ostrel {

struct DeliveryCheckOptions {
    Reader reader = Reader::anybody;
    std::optional<TimecodeRate> projectRate; // nothing: the one that most files have
    bool readsAudio = true;                  // of files with an MD5 chunk, whose digest is made anew
};

class DeliveryCheck {
public:
    explicit DeliveryCheck(DeliveryCheckOptions options) : options_(options) {}

    // What is found in this file alone. Blocks on the disk; from several threads at once.
    std::vector<Finding> look(const QString& path);

    // What the files looked at are to each other, in the order of their paths.
    std::vector<Finding> across() const;

private:
    struct Member {
        QString path;
        QByteArray umid;
        QString fileUid;
        std::optional<TimecodeRate> rate;
        quint32 sampleRate = 0;
    };

    void keep(Member member);
    void checkShared(std::vector<Finding>& findings) const;
    void checkRates(std::vector<Finding>& findings) const;
    void checkNames(std::vector<Finding>& findings) const;
    std::vector<Member> sorted() const;

    const DeliveryCheckOptions options_;
    mutable std::mutex mutex_; // guards
    std::vector<Member> members_;
};

} // namespace ostrel
