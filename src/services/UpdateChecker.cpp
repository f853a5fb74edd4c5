#include "services/UpdateChecker.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QVersionNumber>

#include <utility>

namespace Tessaly {

namespace {

constexpr qsizetype longestBody = 1 << 20; ///< bytes, after decompression

} // namespace

UpdateChecker::UpdateChecker(Deployment deployment, QObject* parent)
    : QObject(parent),
      deployment_(std::move(deployment)),
      network_(new QNetworkAccessManager(this)) {}

UpdateChecker::~UpdateChecker() {
    drop();
}

void UpdateChecker::check(bool silent) {
    drop();
    silent_ = silent;
    if (!isConfigured(deployment_.updateFile)) {
        fail(tr("No update server is configured in this build."));
        return;
    }
    QNetworkRequest request(deployment_.updateFile);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Tessaly/%1").arg(deployment_.version));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    reply_ = network_->get(request);
    // A server that sends without end is slowed down to what is read here.
    reply_->setReadBufferSize(longestBody);
    connect(reply_, &QNetworkReply::readyRead, this, &UpdateChecker::takeBody);
    connect(reply_, &QNetworkReply::finished, this, &UpdateChecker::finish);
}

void UpdateChecker::takeBody() {
    body_ += reply_->read(longestBody + 1 - body_.size());
    if (body_.size() > longestBody) {
        drop();
        fail(tr("Could not read version information from the server."));
    }
}

void UpdateChecker::finish() {
    if (reply_->error() != QNetworkReply::NoError) {
        const QString why = reply_->errorString();
        drop();
        fail(why);
        return;
    }
    takeBody();
    if (reply_) {
        evaluate();
    }
}

void UpdateChecker::evaluate() {
    const QJsonDocument document = QJsonDocument::fromJson(body_);
    drop();
    if (!document.isObject()) {
        fail(tr("Could not read version information from the server."));
        return;
    }
    const QJsonObject information = document.object();
    const QString latest = information.value(QLatin1String("version")).toString();
    const QString page = information.value(QLatin1String("url")).toString(deployment_.downloadPage.toString());
    const QString notes = information.value(QLatin1String("notes")).toString();
    const QVersionNumber latestNumber = QVersionNumber::fromString(latest);
    if (latestNumber.segmentCount() == 0) {
        fail(tr("The server returned an unrecognized version string."));
    } else if (QVersionNumber::compare(latestNumber, QVersionNumber::fromString(deployment_.version)) > 0) {
        emit updateAvailable(latest, page, notes);
    } else if (!silent_) {
        emit upToDate(deployment_.version);
    }
}

void UpdateChecker::fail(const QString& message) {
    if (!silent_) {
        emit checkFailed(message);
    }
}

void UpdateChecker::drop() {
    body_.clear();
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
        reply_->deleteLater();
        reply_.clear();
    }
}

} // namespace Tessaly
