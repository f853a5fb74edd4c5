#include "io/Codecs.h"

#include "core/ErrorReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

namespace Tessaly {

namespace {

const Codecs* loadCodecs() {
    const QDir folder(QCoreApplication::applicationDirPath());
    QLibrary library(folder.absoluteFilePath(QStringLiteral("../lib/tessaly_codecs")));
    if (const auto entry = reinterpret_cast<CodecsEntryFunction>(library.resolve(CodecsEntry))) {
        return entry();
    }
    reportError("Error loading coders: " + library.errorString().toStdString());
    return nullptr;
}

} // namespace

const Codecs* codecs() {
    static const Codecs* const loaded = loadCodecs();
    return loaded;
}

} // namespace Tessaly
