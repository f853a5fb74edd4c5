#include "widgets/SaveFileDialog.h"

#include "core/FileSuffix.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace Tessaly {

bool mayReplaceFile(QWidget* parent, const QString& title, const QString& fileName) {
    const QString question =
        QCoreApplication::translate("SaveFileDialog", "%1 already exists.\nDo you want to replace it?");
    QMessageBox box(QMessageBox::Question, title, question.arg(QFileInfo(fileName).fileName()),
                    QMessageBox::Yes | QMessageBox::No, parent);
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

QString askSaveFileName(QWidget* parent, const QString& title, const QString& filters, const QString& proposal) {
    QString filter;
    const QString typed = QFileDialog::getSaveFileName(parent, title, proposal, filters, &filter);
    if (typed.isEmpty()) {
        return {};
    }
    const QString fileName = withFilterSuffix(typed, filter);
    // The dialog has asked about the name as it was typed.
    if (fileName != typed && QFileInfo::exists(fileName) && !mayReplaceFile(parent, title, fileName)) {
        return {};
    }
    return fileName;
}

} // namespace Tessaly
