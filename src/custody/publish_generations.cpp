#include "custody/publish_generations.h"

#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "platform/processes/in_flight.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ostrel {
namespace {

// One run at a time writes to a history. A file system that knows no locks leaves it at the look at the chain.
class HistoryLock {
public:
    explicit HistoryLock(const QString& place)
        : descriptor_(::open(QFile::encodeName(place).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        isHeld_ = descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX) == 0;
    }
    ~HistoryLock() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    HistoryLock(const HistoryLock&) = delete;
    HistoryLock& operator=(const HistoryLock&) = delete;

    bool isHeld() const { return isHeld_; }

private:
    int descriptor_;
    bool isHeld_ = false;
};

// A signal that ends the program waits until list and chain are both there: a moment.
class NoSignals {
public:
    NoSignals() {
        sigset_t all;
        sigemptyset(&all);
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&all, number);
        ::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~NoSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;

private:
    sigset_t before_;
};

// NewFile holds its folder by a shared lock, which would wait for ours.
class PrivateFile {
public:
    PrivateFile(const QString& folder, const QByteArray& contents)
        : path_(privatePath(folder, QString())), unfinished_(QFile::encodeName(path_)) {
        QFile file(path_);
        const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
                               file.write(contents) == contents.size() && file.flush();
        file.close();
        if (!isWritten || file.error() != QFileDevice::NoError) {
            const FileError error(QStringLiteral("Could not write %1: %2").arg(path_, file.errorString()));
            files::removeQuietly(path_);
            throw error;
        }
        try {
            files::flush(path_);
        } catch (const FileError&) {
            files::removeQuietly(path_);
            throw;
        }
    }
    ~PrivateFile() {
        if (!path_.isEmpty()) files::removeQuietly(path_);
    }
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;

    void rename(const QString& to, NewFile::Over over) {
        over == NewFile::Over::oldFile ? files::renameOver(path_, to) : files::renameWithoutReplacing(path_, to);
        unfinished_.settle();
        path_.clear();
    }

private:
    QString path_;
    inFlight::UnfinishedFile unfinished_;
};

// The history's folder; one that was made here goes again where nothing came of it.
class HistoryPlace {
public:
    explicit HistoryPlace(const QString& folder) : path_(historyFolder(folder)), isNew_(!paths::exists(path_)) {
        files::createFolder(path_);
        try {
            if (isNew_) files::flush(folder);
        } catch (const FileError&) {
            removeIfNew();
            throw;
        }
    }
    ~HistoryPlace() { removeIfNew(); }
    HistoryPlace(const HistoryPlace&) = delete;
    HistoryPlace& operator=(const HistoryPlace&) = delete;

    const QString& path() const { return path_; }
    void keep() { isNew_ = false; }

private:
    void removeIfNew() const {
        if (isNew_) QDir().rmdir(path_); // not while anything is in it
    }

    QString path_;
    bool isNew_;
};

class PendingGeneration {
public:
    explicit PendingGeneration(const NewGeneration& generation)
        : generation_(generation), place_(generation.folder), lock_(place_.path()) {
        requireChainAsItWas();
        if (lock_.isHeld()) clearLeftovers();
        list_ = std::make_unique<PrivateFile>(place_.path(), generation.list);
        chain_ = std::make_unique<PrivateFile>(place_.path(), generation.newChain);
    }
    ~PendingGeneration() {
        if (isNamed_ && !isListed_) files::removeQuietly(listPath());
        list_.reset(); // ahead of the folder
        chain_.reset();
    }
    PendingGeneration(const PendingGeneration&) = delete;
    PendingGeneration& operator=(const PendingGeneration&) = delete;

    void nameList() {
        list_->rename(listPath(), NewFile::Over::nothing);
        isNamed_ = true;
        files::flush(place_.path()); // no chain on the disk names a list that is not
    }
    void replaceChain() {
        requireChainAsItWas();
        const bool isFirst = generation_.oldChain.isEmpty();
        chain_->rename(chainPath(generation_.folder), isFirst ? NewFile::Over::nothing : NewFile::Over::oldFile);
        isListed_ = true;
        place_.keep();
        files::flush(place_.path());
    }

private:
    QString listPath() const { return paths::append(place_.path(), generation_.name); }

    // Whoever wrote them was killed: a living one would have the lock.
    void clearLeftovers() const {
        for (const QString& name : QDir(place_.path()).entryList(QDir::Files | QDir::Hidden)) {
            if (isPrivateName(name)) files::removeQuietly(paths::append(place_.path(), name));
        }
    }

    void requireChainAsItWas() const {
        const QString path = chainPath(generation_.folder);
        const QByteArray chain = paths::exists(path) ? files::read(path) : QByteArray();
        if (chain == generation_.oldChain) return;
        throw FileError(QStringLiteral("Another run has sealed %1 meanwhile; seal it again").arg(generation_.folder));
    }

    const NewGeneration& generation_;
    HistoryPlace place_;
    HistoryLock lock_;
    std::unique_ptr<PrivateFile> list_;
    std::unique_ptr<PrivateFile> chain_;
    bool isNamed_ = false;
    bool isListed_ = false;
};

} // namespace

void publishGenerations(const std::vector<NewGeneration>& generations) {
    std::vector<std::unique_ptr<PendingGeneration>> pending;
    for (const NewGeneration& generation : generations) {
        pending.push_back(std::make_unique<PendingGeneration>(generation));
    }
    const NoSignals quiet;
    for (const auto& each : pending) each->nameList();
    for (const auto& each : pending) each->replaceChain(); // inner ones first: an outer one names their lists
}

} // namespace ostrel
