#pragma once

#include <QElapsedTimer>
#include <QProgressDialog>

namespace Tessaly {

/// Shows how far an export is and keeps the program's windows drawn meanwhile. It stays until it is destroyed: what the
/// user can do is ask for an end after the current dataset, if there are several.
class ExportProgress : public QProgressDialog {
    Q_OBJECT

public:
    /// Shown at once.
    /// @param count        datasets
    /// @param cancellable  with a button "Cancel"; else without any way out
    ExportProgress(int count, bool cancellable, QWidget* parent);

    /// Tells that a dataset is next.
    void showNext(int index, const QString& label);
    /// Lets events be handled, at most some thirty times a second.
    void keepAlive();
    /// Whether the user has asked for an end.
    bool isCancelRequested() const { return cancelRequested_; }

    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void requestCancel();

    QPushButton* cancel_ = nullptr;
    bool cancelRequested_ = false;
    QElapsedTimer sinceEvents_;
};

} // namespace Tessaly
