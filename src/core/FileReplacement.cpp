#include "core/FileReplacement.h"

#include <QSaveFile>

namespace Tessaly {

bool replaceFile(const QString& path, const QByteArray& contents) {
    QSaveFile file(path);
    // Flushed here, because commit() takes no notice of what goes wrong in its own flushing.
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() && file.flush() && file.commit();
}

} // namespace Tessaly
