// The folder of one poly's ISOs, from the scene and take that its manifest, its BEXT or its name tells.
#pragma once

#include "polytools/records/poly_file.h"

#include <QString>
#include <functional>

namespace ostrel {

struct MetadataManifest;

// "/", "\", ":", "*", "?", a double quote, "<", ">" and "|" become "-"; white space at the ends goes. Never "." or
// "..".
QString sanitizeFolderName(const QString& name);

// Scene and take from the manifest's iXML, else from its BEXT, else from a name such as "12AT3". A poly that tells
// neither gets a folder of its own name, less a take at the end ("Kitchen-T07" -> "Kitchen"). `manifest` may be null.
// `debug` takes one line that tells where the name came from.
QString isoOutputFolder(const PolyFile& polyFile, const MetadataManifest* manifest, const QString& baseFolder,
                        FolderOrganization organization, const std::function<void(const QString&)>& debug);

} // namespace ostrel
