#include "ui/datasets/NameController.h"

#include "core/DatasetEntry.h"
#include "session/DatasetOpening.h"
#include "session/Session.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalBlocker>

namespace Tessaly {

NameController::NameController(Session& session, QLineEdit& field, QObject* parent)
    : QObject(parent),
      session_(session),
      field_(field) {
    field_.installEventFilter(this);
    connect(&field_, &QLineEdit::editingFinished, this, &NameController::onRenameFinished);
    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, &NameController::showName);
    connect(&news, &SessionNotices::datasetReady, this, &NameController::showName);
    connect(&news, &SessionNotices::datasetRenamed, this, &NameController::showName);
    showName();
}

bool NameController::eventFilter(QObject* object, QEvent* event) {
    if (object == &field_ && event->type() == QEvent::KeyPress &&
        static_cast<const QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        showName();
        return true;
    }
    return QObject::eventFilter(object, event);
}

void NameController::showName() {
    const QSignalBlocker blocker(field_);
    const DatasetEntry* dataset = session_.active();
    field_.setEnabled(dataset && dataset->featuresLoaded);
    const QString name = dataset ? dataset->displayName : QString();
    if (field_.text() != name) {
        field_.setText(name);
    }
}

void NameController::onRenameFinished() {
    const DatasetEntry* dataset = session_.active();
    if (!dataset || !field_.isEnabled()) {
        return;
    }
    QString name = field_.text().trimmed();
    if (name.isEmpty()) {
        name = fallbackDisplayName(dataset->metadata, QString::fromStdString(dataset->filePath));
    }
    session_.rename(dataset->id, name);
    showName(); // blanks around an unchanged name go
}

} // namespace Tessaly
