#include "services/FeedbackSender.h"

#include "services/FeedbackDialog.h"
#include "widgets/PlainText.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProgressDialog>
#include <QPushButton>

#include <utility>

namespace Tessaly {

namespace {

/// Why an upload that has ended counts as failed; empty if it doesn't.
QString failureOf(const QNetworkReply& reply) {
    if (reply.error() != QNetworkReply::NoError) {
        return reply.errorString();
    }
    constexpr int firstRedirection = 300;
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // Followed, it would carry the key elsewhere or lose the report.
    return status < firstRedirection ? QString()
                                     : FeedbackSender::tr("The server answered with another address (%1).").arg(status);
}

} // namespace

FeedbackSender::FeedbackSender(Deployment deployment, LogSource log, QObject* parent)
    : QObject(parent),
      deployment_(std::move(deployment)),
      log_(std::move(log)),
      network_(new QNetworkAccessManager(this)) {}

FeedbackSender::~FeedbackSender() {
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
    }
    delete progress_;
}

void FeedbackSender::send(const QString& version, const QString& summary, const QString& errorTitle,
                          const QString& errorMessage, QWidget* window) {
    if (reply_) {
        return;
    }
    FeedbackContents contents{version, summary, errorTitle, errorMessage, {}, {}};
    FeedbackDialog dialog(errorTitle, errorMessage, QString::fromUtf8(reportOf(contents)), window);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    contents.comment = dialog.comment();
    upload(version, reportOf(contents), window);
}

QByteArray FeedbackSender::reportOf(FeedbackContents contents) const {
    contents.log = log_ ? log_() : QString();
    return feedbackReport(contents);
}

void FeedbackSender::upload(const QString& version, const QByteArray& report, QWidget* window) {
    if (!isConfigured(deployment_.uploadAddress)) {
        tellFailure(tr("No support server is configured in this build."), report, window);
        return;
    }
    QNetworkRequest request(deployment_.uploadAddress);
    request.setRawHeader("X-Api-Key", deployment_.uploadKey);
    request.setRawHeader("X-Version", version.toUtf8());
    request.setRawHeader("X-Setup-Id", "Tessaly");
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/plain"));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    reply_ = network_->put(request, report);
    connect(reply_, &QNetworkReply::finished, this,
            [this, report, window = QPointer<QWidget>(window)] { finish(report, window); });
    showProgress(window);
}

void FeedbackSender::showProgress(QWidget* window) {
    progress_ = new QProgressDialog(tr("Sending feedback..."), tr("Cancel"), 0, 0, window);
    progress_->setObjectName(QStringLiteral("feedbackProgress"));
    progress_->setWindowTitle(tr("Send Feedback"));
    progress_->setWindowModality(Qt::WindowModal);
    progress_->setMinimumDuration(0);
    connect(progress_, &QProgressDialog::canceled, reply_, &QNetworkReply::abort);
    progress_->show();
}

void FeedbackSender::finish(const QByteArray& report, QWidget* window) {
    QNetworkReply& reply = *reply_;
    reply_.clear();
    reply.deleteLater();
    if (progress_) {
        // Closing it would count as cancelling.
        progress_->disconnect(&reply);
        progress_->close();
        progress_->deleteLater();
        progress_.clear();
    }
    if (reply.error() == QNetworkReply::OperationCanceledError) {
        return;
    }
    const QString failure = failureOf(reply);
    if (!failure.isEmpty()) {
        tellFailure(failure, report, window);
        return;
    }
    newMessage(window, QMessageBox::Information, tr("Feedback Sent"),
               tr("Thank you! Your report has been sent to Orvane support."))
        ->open();
}

void FeedbackSender::tellFailure(const QString& why, const QByteArray& report, QWidget* window) {
    QMessageBox* box =
        newMessage(window, QMessageBox::Warning, tr("Feedback Failed"), tr("Could not send feedback.\n\n%1").arg(why));
    const QPushButton* copy = box->addButton(tr("Copy Report"), QMessageBox::ActionRole);
    connect(copy, &QPushButton::clicked, box,
            [report] { QGuiApplication::clipboard()->setText(QString::fromUtf8(report)); });
    box->open();
}

} // namespace Tessaly
