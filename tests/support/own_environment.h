// What every test program runs in: folders that belong to it alone, so that no test reads or leaves anything in the
// person's own cache or settings or meets another test's temporary files, and no need of a sound card or a display.
#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <sys/stat.h>

namespace ostrel::testing {

class OwnEnvironment {
public:
    OwnEnvironment() {
        for (const char* name : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "TMPDIR"})
            own(name);
        // As open as the shared temporary folder is: some tests go on as another user.
        ::chmod(home_.path().toUtf8().constData(), 0755);
        ::chmod(qgetenv("TMPDIR").constData(), 01777);
        setDefault("SDL_AUDIODRIVER", "dummy");
        setDefault("QT_QPA_PLATFORM", "offscreen");
    }
    QString home() const { return home_.path(); }

private:
    void own(const char* name) {
        const QString folder = home_.filePath(QString::fromLatin1(name));
        QDir().mkpath(folder);
        qputenv(name, folder.toUtf8());
    }
    static void setDefault(const char* name, const char* value) {
        if (!qEnvironmentVariableIsSet(name)) qputenv(name, value);
    }

    const QTemporaryDir home_;
};

} // namespace ostrel::testing
