#include "ui/services/ServicesController.h"

#include "services/AboutDialog.h"
#include "services/FeedbackReport.h"
#include "services/FeedbackSender.h"
#include "services/HelpPages.h"
#include "services/HelpWindow.h"
#include "services/UpdateChecker.h"
#include "session/Session.h"
#include "ui/plot/PlotController.h"
#include "widgets/PlainText.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QKeyEvent>
#include <QPushButton>
#include <QSettings>

#include <algorithm>
#include <utility>

namespace Tessaly {

namespace {

constexpr char CheckKey[] = "updates/checkOnStartup";
constexpr char IgnoredKey[] = "updates/ignoredVersion";
constexpr qsizetype longestNotes = 1500; ///< characters of a box that still fits on a screen
constexpr qsizetype mostNoteLines = 20;

void tell(QMessageBox::Icon icon, const QString& text, QWidget* window) {
    newMessage(window, icon, ServicesController::tr("Check for Updates"), text)->open();
}

/// As much of a server's text as a message box can show.
QString shortened(const QString& notes) {
    const QStringList lines = notes.trimmed().split(u'\n');
    const QString text = lines.mid(0, mostNoteLines).join(u'\n').left(longestNotes);
    return text.size() < notes.trimmed().size() ? text + QStringLiteral("…") : text;
}

bool isHelpKey(const QEvent& event) {
    const auto& key = static_cast<const QKeyEvent&>(event);
    return key.key() == Qt::Key_F1 && key.modifiers() == Qt::NoModifier;
}

} // namespace

ServicesController::ServicesController(Session& session, const PlotController& plot, QWidget* window,
                                       Deployment deployment)
    : QObject(window),
      session_(session),
      plot_(plot),
      window_(window),
      deployment_(std::move(deployment)) {
    connect(&session_.notices(), &SessionNotices::datasetsChanged, this, &ServicesController::collectPrivateTexts);
    connect(&session_.notices(), &SessionNotices::datasetRenamed, this, &ServicesController::collectPrivateTexts);
    qApp->installEventFilter(this);
}

ServicesController::~ServicesController() = default;

void ServicesController::openManual(const QString& page) {
    const QStringList candidates = manualCandidates();
    const auto found = std::find_if(candidates.begin(), candidates.end(),
                                    [](const QString& file) { return QFileInfo(file).isFile(); });
    // A window beside a modal dialog couldn't be used.
    QWidget* modal = QApplication::activeModalWidget();
    QWidget* parent = modal ? modal : window_;
    if (found == candidates.end()) {
        showMessage(parent, QMessageBox::Warning, tr("Manual Not Found"),
                    tr("Could not find the help file (tessaly.qch).\n\nSearched in:\n%1").arg(candidates.join(u'\n')));
        return;
    }
    auto* manual = new HelpWindow(*found, parent);
    manual->setAttribute(Qt::WA_DeleteOnClose);
    manual->showPage(page);
    manual->show();
}

bool ServicesController::eventFilter(QObject* object, QEvent* event) {
    // Before the shortcut of the menu, which knows the first page only.
    if (event->type() == QEvent::ShortcutOverride && object->isWidgetType() && isHelpKey(*event)) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress && object->isWidgetType() && isHelpKey(*event)) {
        auto* widget = static_cast<QWidget*>(object);
        if (!qobject_cast<HelpWindow*>(widget->window())) {
            openManual(helpPageFor(widget));
        }
        return true;
    }
    return false;
}

void ServicesController::makeChecker() {
    checker_ = new UpdateChecker(deployment_, this);
    connect(checker_, &UpdateChecker::updateAvailable, this, &ServicesController::tellUpdate);
    connect(checker_, &UpdateChecker::upToDate, this, [this](const QString& version) {
        tell(QMessageBox::Information, tr("You are running the latest version of Tessaly (%1).").arg(version), window_);
    });
    connect(checker_, &UpdateChecker::checkFailed, this, [this](const QString& why) {
        tell(QMessageBox::Warning, tr("Could not check for updates.\n\n%1").arg(why), window_);
    });
}

void ServicesController::checkForUpdates(bool silent) {
    if (!checker_) {
        makeChecker();
    }
    silent_ = silent;
    checker_->check(silent);
}

void ServicesController::tellUpdate(const QString& version, const QString& page, const QString& notes) {
    if (silent_ && version == QSettings().value(QLatin1String(IgnoredKey)).toString()) {
        return;
    }
    QString text = tr("A newer version of Tessaly is available.\n\nInstalled: %1\nLatest: %2")
                       .arg(deployment_.version, shortened(version));
    if (!notes.trimmed().isEmpty()) {
        text += tr("\n\nWhat's new:\n%1").arg(shortened(notes));
    }
    QMessageBox* box =
        newMessage(window_, QMessageBox::Information, tr("Update Available"), text, QMessageBox::NoButton);
    QPushButton* open = box->addButton(tr("Open Downloads..."), QMessageBox::AcceptRole);
    const QPushButton* ignore = box->addButton(tr("Ignore This Version"), QMessageBox::ActionRole);
    QPushButton* later = box->addButton(tr("Later"), QMessageBox::RejectRole);
    box->setDefaultButton(open);
    box->setEscapeButton(later);
    connect(open, &QPushButton::clicked, this, [this, page] { openPage(page); });
    connect(ignore, &QPushButton::clicked, this,
            [version] { QSettings().setValue(QLatin1String(IgnoredKey), version); });
    box->open();
}

void ServicesController::openPage(const QString& page) {
    // The address comes from the server: nothing but a page that is got securely is opened.
    const QUrl url(page, QUrl::StrictMode);
    if (url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty()) {
        QDesktopServices::openUrl(url);
    } else {
        tell(QMessageBox::Warning, tr("The server named a download page that isn't secure. It was not opened."),
             window_);
    }
}

void ServicesController::sendFeedback(const QString& errorTitle, const QString& errorMessage) {
    if (!sender_) {
        sender_ = new FeedbackSender(
            deployment_, [this] { return hiddenLog(); }, this);
    }
    collectPrivateTexts();
    sender_->send(deployment_.version, sessionSummary(session_.datasets(), plot_.frame().someLeftOut),
                  private_.hidden(errorTitle), private_.hidden(errorMessage), window_);
}

void ServicesController::showAbout() {
    AboutDialog(window_).exec();
}

void ServicesController::collectPrivateTexts() {
    for (const auto& dataset : session_.datasets()) {
        private_.addPath(QString::fromStdString(dataset->filePath));
        private_.addName(dataset->displayName);
        for (const std::string& name : {metadataValue(dataset->metadata.experiment, "sample"),
                                        metadataValue(dataset->metadata.exportSection, "changed sample name")}) {
            private_.addName(QString::fromStdString(name));
        }
    }
}

QString ServicesController::hiddenLog() {
    return recentLog_ ? private_.hidden(recentLog_()) : QString();
}

bool ServicesController::checksOnStartup() {
    return QSettings().value(QLatin1String(CheckKey), true).toBool();
}

void ServicesController::setChecksOnStartup(bool on) {
    QSettings().setValue(QLatin1String(CheckKey), on);
}

} // namespace Tessaly
