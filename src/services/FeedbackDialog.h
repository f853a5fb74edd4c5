#pragma once

#include <QDialog>

class QPlainTextEdit;

namespace Tessaly {

/// Shows what a report tells before it leaves, and takes a comment of the user's.
class FeedbackDialog : public QDialog {
    Q_OBJECT

public:
    /// @param errorTitle, errorMessage  what the report is about; both empty if it is about nothing special
    /// @param preview  the report without a comment
    FeedbackDialog(const QString& errorTitle, const QString& errorMessage, const QString& preview, QWidget* parent);

    /// Without blanks around it.
    QString comment() const;

private:
    QPlainTextEdit* comment_;
};

} // namespace Tessaly
