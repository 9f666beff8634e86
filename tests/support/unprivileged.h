// File permissions mean nothing to root, as whom a container runs its tests: for a scope, act as nobody.
#pragma once

#include <QFile>
#include <unistd.h>

namespace ostrel::testing {

class Unprivileged {
public:
    // `folder` is a test's own; everybody may look into it from now on.
    explicit Unprivileged(const QString& folder) {
        QFile::setPermissions(folder, QFile::Permissions(0x7755));
        if (wasRoot_) isUnprivileged_ = ::seteuid(65534) == 0;
    }
    ~Unprivileged() {
        if (wasRoot_ && ::seteuid(0) != 0) ::_exit(1); // the tests behind this one must not run as somebody else
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

    bool isUnprivileged() const { return isUnprivileged_; }

private:
    bool wasRoot_ = ::geteuid() == 0;
    bool isUnprivileged_ = !wasRoot_;
};

} // namespace ostrel::testing
