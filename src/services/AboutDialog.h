#pragma once

#include <QDialog>
#include <QString>

namespace Tessaly {

/// The folder of the legal documents, the first that exists: in the program's folder, in the installed tree, in the
/// source's. Empty if there is none.
QString licensesFolder();

/// The version of the program, what it is built with, and the way to the legal documents.
class AboutDialog : public QDialog {
    Q_OBJECT

public:
    /// @param licenses  folder of the legal documents, empty if there is none
    explicit AboutDialog(QWidget* parent = nullptr, QString licenses = licensesFolder());

private slots:
    /// Opens what a link of the dialog stands for with the desktop's viewer; says so if it can't.
    void onLinkActivated(const QString& url);

private:
    void openDocument(const QString& path);

    QString licenses_;
};

} // namespace Tessaly
