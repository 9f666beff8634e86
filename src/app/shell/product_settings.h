// What the build knows of the product. An empty address switches the item off that would lead there.
#pragma once

#include <QString>

namespace ostrel {

struct ProductSettings {
    QString version;
    QString website;        // a web page
    QString supportAddress; // of mail
    QString updateFeed;     // of an appcast, HTTPS
};

} // namespace ostrel
