#include "widgets/PlainText.h"

#include <QTextDocument>

namespace Tessaly {

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal) : text;
}

QString singleLine(QString text) {
    for (QChar& character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph) {
            character = u' ';
        }
    }
    return text;
}

void showMessage(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text) {
    QMessageBox box(icon, title, QString(), QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.exec();
}

QMessageBox* newMessage(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                        QMessageBox::StandardButtons buttons) {
    auto* box = new QMessageBox(icon, title, QString(), buttons, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    return box;
}

QMessageBox::StandardButton askQuestion(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                        const QString& text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton byDefault) {
    QMessageBox box(icon, title, QString(), buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setDefaultButton(byDefault);
    for (const QMessageBox::StandardButton refusal : {QMessageBox::Cancel, QMessageBox::No}) {
        if (box.button(refusal)) {
            box.setEscapeButton(refusal);
        }
    }
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

} // namespace Tessaly
