#include "services/FeedbackDialog.h"

#include <QDialogButtonBox>
#include <QFont>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace Tessaly {

namespace {

constexpr QSize dialogSize(640, 540);
constexpr int commentHeight = 100;

QLabel* errorLabel(const QString& title, const QString& message) {
    auto* label =
        new QLabel(QStringLiteral("<b>Error:</b> %1<br>%2").arg(title.toHtmlEscaped(), message.toHtmlEscaped()));
    label->setObjectName(QStringLiteral("feedbackErrorLabel"));
    label->setTextFormat(Qt::RichText);
    label->setWordWrap(true);
    return label;
}

/// A box for text of many lines that doesn't keep the Tab key for itself.
QPlainTextEdit* textBox(const char* name, const QString& accessibleName) {
    auto* box = new QPlainTextEdit;
    box->setObjectName(QLatin1String(name));
    box->setAccessibleName(accessibleName);
    box->setTabChangesFocus(true);
    return box;
}

} // namespace

FeedbackDialog::FeedbackDialog(const QString& errorTitle, const QString& errorMessage, const QString& preview,
                               QWidget* parent)
    : QDialog(parent),
      comment_(textBox("feedbackComment", tr("Comment on the report"))) {
    setObjectName(QStringLiteral("feedbackDialog"));
    setWindowTitle(tr("Send Feedback to Orvane Support"));
    resize(dialogSize);
    auto* layout = new QVBoxLayout(this);
    if (!errorTitle.isEmpty() || !errorMessage.isEmpty()) {
        layout->addWidget(errorLabel(errorTitle, errorMessage));
    }
    auto* explanation = new QLabel(tr("The information below will be sent to Orvane support:\n"
                                      "  • Application version and system info\n"
                                      "  • A summary of the current session (no file paths or sample names)\n"
                                      "  • Recent diagnostic log messages"));
    explanation->setWordWrap(true);
    layout->addWidget(explanation);

    auto* commentLabel = new QLabel(tr("Your comment (optional):"));
    commentLabel->setBuddy(comment_);
    comment_->setMaximumHeight(commentHeight);
    comment_->setPlaceholderText(tr("Describe what happened or what you expected..."));
    layout->addWidget(commentLabel);
    layout->addWidget(comment_);

    auto* previewLabel = new QLabel(tr("Preview of data to be sent:"));
    QPlainTextEdit* previewBox = textBox("feedbackPreview", tr("Preview of data to be sent"));
    previewLabel->setBuddy(previewBox);
    previewBox->setReadOnly(true);
    previewBox->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QFont font(QStringLiteral("monospace"));
    font.setStyleHint(QFont::Monospace);
    previewBox->setFont(font);
    previewBox->setPlainText(preview);
    layout->addWidget(previewLabel);
    layout->addWidget(previewBox, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton* send = buttons->addButton(tr("Send"), QDialogButtonBox::AcceptRole);
    send->setObjectName(QStringLiteral("feedbackSendButton"));
    send->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    comment_->setFocus();
}

QString FeedbackDialog::comment() const {
    return comment_->toPlainText().trimmed();
}

} // namespace Tessaly
