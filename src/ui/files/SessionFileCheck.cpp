#include "ui/files/SessionFileCheck.h"

#include "session/document/SessionRestore.h"
#include "widgets/BusyCursor.h"
#include "widgets/PlainText.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFileDialog>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <optional>

namespace Tessaly {

namespace {

class Check {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::SessionFileCheck)

public:
    Check(const SessionDocument& document, const QString& sessionPath, QWidget* window)
        : document_(document),
          files_(filesOf(document, sessionPath)),
          folder_(QFileInfo(sessionPath).absolutePath()),
          window_(window),
          missing_(std::ranges::count(files_, false, &SessionFile::exists)) {}

    std::vector<PendingSessionFile> run(const std::function<void(int, int)>& progress) {
        std::vector<PendingSessionFile> wanted;
        int number = 0;
        for (const SessionFile& file : files_) {
            progress(++number, static_cast<int>(files_.size()));
            const SessionDataset& saved = document_.datasets[static_cast<std::size_t>(file.index)];
            const QString path = file.exists ? file.path : locate(file, saved);
            if (!path.isEmpty() && isWanted(path, saved)) {
                wanted.push_back({file.index, path});
            }
        }
        return wanted;
    }

private:
    /// Lets the user say where a missing file is; empty to leave it out.
    QString locate(const SessionFile& file, const SessionDataset& saved) {
        --missing_;
        if (leavesOutMissing_) {
            return {};
        }
        // Where more are missing, one answer may do for all.
        const auto buttons = QMessageBox::Yes | QMessageBox::No;
        const auto answer = askQuestion(window_, QMessageBox::Warning, tr("Dataset Not Found"),
                                        missingFileQuestion(file.path, saved.displayName),
                                        missing_ > 0 ? buttons | QMessageBox::NoToAll : buttons, QMessageBox::Yes);
        leavesOutMissing_ = answer == QMessageBox::NoToAll;
        if (answer != QMessageBox::Yes) {
            return {};
        }
        return QFileDialog::getOpenFileName(window_, tr("Locate: %1").arg(singleLine(saved.displayName)), folder_,
                                            tr("VQD Files (*.vqd);;All Files (*)"));
    }

    bool isWanted(const QString& path, const SessionDataset& saved) {
        const std::optional<Fingerprint> found = look(path);
        if (!found) {
            qWarning() << "Failed to open" << path;
            showMessage(window_, QMessageBox::Warning, tr("Error"), tr("Failed to open: %1").arg(path));
            return false;
        }
        return *found == saved.fingerprint ||
               askQuestion(window_, QMessageBox::Warning, tr("Dataset Changed"), changedFileQuestion(saved, *found),
                           QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
    }

    /// Several entries may name one file.
    std::optional<Fingerprint> look(const QString& path) {
        const auto known = known_.constFind(path);
        if (known != known_.constEnd()) {
            return *known;
        }
        const BusyCursor busy;
        return *known_.insert(path, fingerprintOfFile(path));
    }

    const SessionDocument& document_;
    std::vector<SessionFile> files_;
    QString folder_;
    QWidget* window_;
    std::ptrdiff_t missing_; ///< that are still to be asked about
    bool leavesOutMissing_ = false;
    QHash<QString, std::optional<Fingerprint>> known_;
};

} // namespace

std::vector<PendingSessionFile> checkSessionFiles(const SessionDocument& document, const QString& sessionPath,
                                                  QWidget* window, const std::function<void(int, int)>& progress) {
    return Check(document, sessionPath, window).run(progress);
}

} // namespace Tessaly
