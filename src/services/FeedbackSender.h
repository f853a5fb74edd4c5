#pragma once

#include "services/Deployment.h"
#include "services/FeedbackReport.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;
class QProgressDialog;
class QWidget;

namespace Tessaly {

/// Shows a report to the user, takes a comment and uploads it: one attempt, nothing is kept. User interface thread
/// only; the upload runs beside it, and ends with this object.
class FeedbackSender : public QObject {
    Q_OBJECT

public:
    /// What a report tells besides, asked for anew for every report; safe to be told.
    using LogSource = std::function<QString()>;

    FeedbackSender(Deployment deployment, LogSource log, QObject* parent = nullptr);
    ~FeedbackSender() override;

    /// Runs the dialog, and starts the upload if the user agrees. While an upload is under way nothing happens.
    /// @param window  parent of the dialogs
    void send(const QString& version, const QString& summary, const QString& errorTitle, const QString& errorMessage,
              QWidget* window);

private:
    QByteArray reportOf(FeedbackContents contents) const;
    void upload(const QString& version, const QByteArray& report, QWidget* window);
    void showProgress(QWidget* window);
    void finish(const QByteArray& report, QWidget* window);
    void tellFailure(const QString& why, const QByteArray& report, QWidget* window);

    Deployment deployment_;
    LogSource log_;
    QNetworkAccessManager* network_; ///< a child of this object
    QPointer<QNetworkReply> reply_;
    QPointer<QProgressDialog> progress_;
};

} // namespace Tessaly
