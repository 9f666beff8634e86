#include "cli/terminal_desktop_services.h"

#include <cstdio>

namespace ostrel::cli {

// Said on standard error; answered as if the alert had been closed.
int TerminalDesktopServices::showAlert(const AlertRequest& request) {
    const QByteArray text = QStringLiteral("%1\n%2\n").arg(request.title, request.text).toUtf8();
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
    return request.buttons.isEmpty() ? 0 : static_cast<int>(request.buttons.size()) - 1;
}

} // namespace ostrel::cli
