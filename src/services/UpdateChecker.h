#pragma once

#include "services/Deployment.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

class QNetworkAccessManager;
class QNetworkReply;

namespace Tessaly {

/// Compares the program's version with the one that the update server names. Gets one small file and nothing else. What
/// the server says isn't trusted: it is shown as plain text, and more than a megabyte of it counts as unreadable.
/// User interface thread only; the request runs beside it, and ends with this object.
class UpdateChecker : public QObject {
    Q_OBJECT

public:
    explicit UpdateChecker(Deployment deployment, QObject* parent = nullptr);
    ~UpdateChecker() override;

    /// Asks the server. A check that is still under way is dropped without a word.
    /// @param silent  only updateAvailable() is ever told; without a configured server nothing happens at all
    void check(bool silent);

signals:
    /// @param latestVersion  as the server writes it;  @param downloadUrl  not checked yet, any scheme
    void updateAvailable(QString latestVersion, QString downloadUrl, QString notes);
    void upToDate(QString currentVersion);
    void checkFailed(QString errorMessage);

private:
    void takeBody();
    void finish();
    void evaluate();
    void fail(const QString& message);
    void drop();

    Deployment deployment_;
    QNetworkAccessManager* network_; ///< a child of this object
    QPointer<QNetworkReply> reply_;
    QByteArray body_;
    bool silent_ = false;
};

} // namespace Tessaly
