#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace Tessaly {

/// The version of the program, three numbers with dots between them. The one place that it is compiled into.
QString programVersion();

/// Where a program looks for updates and sends reports to, and as which version.
struct Deployment {
    QString version;
    QUrl updateFile;      ///< JSON file that tells the newest version
    QUrl downloadPage;    ///< shown to the user unless that file names another page
    QUrl uploadAddress;   ///< takes feedback reports
    QByteArray uploadKey; ///< lets reports in there
};

/// The values that this build was configured with.
Deployment builtInDeployment();

/// Whether an address leads anywhere: it has a host, and that isn't a reserved one that can't exist.
bool isConfigured(const QUrl& address);

} // namespace Tessaly
