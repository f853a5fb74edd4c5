#include "ui/files/ExportProgress.h"

#include "widgets/ElidedLabel.h"
#include "widgets/PlainText.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPushButton>

namespace Tessaly {

ExportProgress::ExportProgress(int count, bool cancellable, QWidget* parent) : QProgressDialog(parent) {
    static constexpr int MinimumWidth = 380;
    setObjectName(QStringLiteral("exportProgress"));
    setWindowTitle(tr("Export"));
    setWindowModality(Qt::ApplicationModal);
    setMinimumWidth(MinimumWidth);
    setAutoReset(false);
    setAutoClose(false);
    setMinimumDuration(0);
    // Names may look like markup and be as long as they like.
    auto* label = new ElidedLabel;
    label->setAlignment(Qt::AlignCenter);
    setLabel(label);
    setLabelText(tr("Exporting data..."));
    if (cancellable) {
        // The dialog's own: another one would come with a second shortcut on Escape, and neither would work.
        setCancelButtonText(tr("Cancel"));
        cancel_ = findChild<QPushButton*>();
        cancel_->setObjectName(QStringLiteral("cancelButton"));
        // The library would hide the dialog and leave the windows open to the user while a dataset is being written.
        disconnect(this, SIGNAL(canceled()), this, SLOT(cancel()));
        connect(this, &QProgressDialog::canceled, this, &ExportProgress::requestCancel);
        setRange(0, count);
    } else {
        setCancelButton(nullptr);
        setRange(0, 0);
    }
    setValue(0);
    show();
    sinceEvents_.start();
    QApplication::processEvents();
}

void ExportProgress::showNext(int index, const QString& label) {
    if (maximum() > 0) {
        setLabelText(singleLine(label));
        setValue(index);
    }
    QApplication::processEvents();
}

void ExportProgress::keepAlive() {
    static constexpr qint64 Interval = 33;
    if (sinceEvents_.elapsed() >= Interval) {
        QApplication::processEvents();
        sinceEvents_.start();
    }
}

void ExportProgress::reject() {
    requestCancel();
}

void ExportProgress::closeEvent(QCloseEvent* event) {
    event->ignore();
    requestCancel();
}

void ExportProgress::requestCancel() {
    if (cancel_) {
        cancelRequested_ = true;
        cancel_->setEnabled(false);
        cancel_->setToolTip(tr("The export ends after the current dataset."));
    }
}

} // namespace Tessaly
