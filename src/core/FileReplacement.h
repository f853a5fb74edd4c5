#pragma once

#include <QByteArray>
#include <QString>

namespace Tessaly {

/// Writes a file beside the target and puts it in the target's place when it is complete and on the disk. After a
/// failure, of a full disk too, the old file is what it was, and nothing is left beside it.
/// @return whether the contents are in place. Any thread.
bool replaceFile(const QString& path, const QByteArray& contents);

} // namespace Tessaly
