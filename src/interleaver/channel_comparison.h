// Whether the channels of a multichannel file are the mono files beside it, sample for sample.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// Compares some blocks spread over the files, in a few milliseconds whatever their length, and gives the last
// components of the mono files that differ. The mono files come in the order of the multichannel file's channels; an
// empty name leaves that channel out. Nothing is compared, and nothing given, where a codec is lossy or a file can't be
// decoded here. Integer PCM has to be equal bit for bit up to 24 bits (32 bits are compared at the precision of a
// float). Blocks; for any thread.
QStringList differingChannels(const QStringList& monoFiles, const QString& multichannelFile);

} // namespace ostrel
