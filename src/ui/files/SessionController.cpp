#include "ui/files/SessionController.h"

#include "session/Session.h"
#include "session/document/SessionRestore.h"
#include "ui/ToolWindows.h"
#include "ui/UserMessageBox.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/files/SessionFileCheck.h"
#include "ui/plot/ColorMapSetting.h"
#include "widgets/BusyCursor.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QDebug>
#include <QFileDialog>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace Tessaly {

namespace {

DatasetNumbers indicesOf(const Session& session) {
    DatasetNumbers idToIndex;
    for (int row = 0; row < session.datasetCount(); ++row) {
        idToIndex[session.datasetAt(row)->id] = row;
    }
    return idToIndex;
}

} // namespace

SessionController::SessionController(Session& session, DatasetLoader& loader, ColorMapSetting& colorMap,
                                     ToolWindows& tools, QWidget* window)
    : QObject(window),
      session_(session),
      loader_(loader),
      colorMap_(colorMap),
      tools_(tools),
      window_(window) {
    connect(&loader_, &DatasetLoader::openedForSession, this, [this](int index, int id) {
        if (load_) {
            load_->indexToId[index] = id;
        }
    });
    connect(&loader_, &DatasetLoader::ranEmpty, this, &SessionController::restore);
}

SessionController::~SessionController() = default;

void SessionController::tell(const UserMessage& message) {
    qWarning() << message.text;
    showMessage(window_, message);
}

bool SessionController::isEmpty() const {
    return session_.datasetCount() == 0 && !tools_.anyForSession();
}

// Saving.

QString SessionController::askWhereToSave() {
    const QString title = tr("Save Session");
    const QString typed = QFileDialog::getSaveFileName(window_, title, path_, tr("Tessaly Session (*.TSY)"));
    if (typed.isEmpty()) {
        return {};
    }
    const QString path = withSessionSuffix(typed);
    // The dialog has asked about the name as it was typed.
    return path == typed || !QFileInfo::exists(path) || mayReplaceFile(window_, title, path) ? path : QString();
}

void SessionController::saveSession() {
    emit aboutToSave();
    if (session_.datasetCount() == 0) {
        showMessage(window_, QMessageBox::Information, tr("Save Session"), tr("No datasets loaded to save."));
        return;
    }
    const QString path = askWhereToSave();
    if (path.isEmpty()) {
        return;
    }
    std::optional<UserMessage> problem;
    {
        const BusyCursor busy;
        SessionDocument document = captureSession(session_, path, colorMap_.index());
        tools_.saveInto(document, indicesOf(session_));
        problem = writeSessionFile(path, document);
    }
    if (problem) {
        tell(*problem);
        return;
    }
    path_ = path;
    emit statusChanged(tr("Session saved: %1").arg(QFileInfo(path).fileName()));
}

// Clearing.

void SessionController::giveUpLoading() {
    load_.reset();
    loader_.dropSessionFiles();
}

void SessionController::dropAll() {
    giveUpLoading();
    loader_.stop();
    session_.clear();
}

void SessionController::clearSession() {
    if (isEmpty() && !sessionLoading()) {
        return;
    }
    const bool sure =
        sessionLoading() || askQuestion(window_, QMessageBox::Question, tr("Clear Session"),
                                        tr("This will close all datasets and combine plot windows.\n"
                                           "Unsaved changes will be lost.\n\nContinue?"),
                                        QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel) == QMessageBox::Ok;
    if (sure) {
        dropAll();
        path_.clear();
    }
}

// Loading.

std::shared_ptr<SessionLoad> SessionController::askWhatToLoad() {
    const QString title = tr("Load Session");
    if (!isEmpty() && askQuestion(window_, QMessageBox::Warning, title,
                                  tr("Loading a session will close all current datasets\nand windows. "
                                     "Unsaved changes will be lost.\n\nContinue?"),
                                  QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes) {
        return nullptr;
    }
    const QString path =
        QFileDialog::getOpenFileName(window_, title, path_, tr("Tessaly Session (*.TSY);;All Files (*)"));
    if (path.isEmpty()) {
        return nullptr;
    }
    SessionReading reading;
    {
        const BusyCursor busy;
        reading = readSessionFile(path);
    }
    if (reading.error) {
        tell(*reading.error);
        return nullptr;
    }
    if (reading.warning) {
        tell(*reading.warning);
    }
    path_ = path;
    return std::make_shared<SessionLoad>(SessionLoad{std::move(reading.document), {}});
}

void SessionController::loadSession() {
    const std::shared_ptr<SessionLoad> load = askWhatToLoad();
    if (!load) {
        return;
    }
    dropAll();
    const std::vector<PendingSessionFile> files =
        checkSessionFiles(load->document, path_, window_, [this](int number, int count) {
            emit statusChanged(tr("Loading session: looking at file %1 of %2...").arg(number).arg(count));
        });
    load_ = load;
    loader_.openForSession(files);
}

void SessionController::restore() {
    if (!load_ || applying_) {
        return;
    }
    const std::shared_ptr<SessionLoad> load = load_;
    applying_ = true;
    const auto over = qScopeGuard([this] {
        load_.reset();
        applying_ = false;
    });
    apply(*load);
}

void SessionController::apply(SessionLoad& load) {
    // Nothing that is shown now may still write to a record, and the one to be shown is to be filled in anew.
    session_.setActive(-1);
    const int active = restoreSession(session_, load);
    colorMap_.show(load.document.colorMapIndex);
    const DatasetEntry* shown = session_.findById(active);
    const int event = shown ? shown->currentEventIndex : -1;
    session_.setActive(active);
    emit eventRestored(active, event);
    tools_.reopen(load.document, load.indexToId);
    std::unordered_set<int> restored;
    for (const auto& [index, id] : load.indexToId) {
        restored.insert(id);
    }
    const auto count =
        std::ranges::count_if(session_.datasets(), [&](const auto& entry) { return restored.contains(entry->id); });
    emit statusChanged(tr("Session loaded: %1 dataset(s)").arg(count));
}

} // namespace Tessaly
