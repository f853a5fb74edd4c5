#include "services/AboutDialog.h"

#include "services/Deployment.h"
#include "widgets/PlainText.h"

#include <QCoreApplication>
#include <QDate>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QUrl>
#include <QVBoxLayout>

#include <array>
#include <utility>

namespace Tessaly {

namespace {

struct Document {
    const char* link;
    const char* path; ///< inside of the licences folder
};

constexpr std::array Documents = {
    Document{"app:license-en", "Software License Agreement.md"},
    Document{"app:license-de", "Softwarelizenzvereinbarung.md"},
    Document{"app:notice-en", "(EN) TessalyTHIRD PARTY SOFTWARE NOTICES.md"},
    Document{"app:notice-de", "(DE) Tessaly THIRD PARTY SOFTWARE NOTICES.md"},
    Document{"app:thirdparty-folder", "third party licenses"},
};

QLabel* richLabel(const char* name, const QString& text) {
    auto* label = new QLabel(text);
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::RichText);
    return label;
}

QLabel* plainLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    return label;
}

QString legalText(bool bundled) {
    if (!bundled) {
        return AboutDialog::tr("<i>License files are not bundled with this build.</i>");
    }
    return AboutDialog::tr("<b>License:</b> <a href=\"app:license-en\">English</a> &middot; "
                           "<a href=\"app:license-de\">Deutsch</a><br>"
                           "<b>Third-party notices:</b> <a href=\"app:notice-en\">English</a> &middot; "
                           "<a href=\"app:notice-de\">Deutsch</a><br>"
                           "<a href=\"app:thirdparty-folder\">Open third-party license texts folder…</a>");
}

} // namespace

AboutDialog::AboutDialog(QWidget* parent, QString licenses) : QDialog(parent), licenses_(std::move(licenses)) {
    setObjectName(QStringLiteral("aboutDialog"));
    setWindowTitle(tr("About Tessaly"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->addWidget(richLabel(
        "aboutVersion",
        QStringLiteral("<div style='font-size:18px; font-weight:bold;'>Tessaly v%1</div>").arg(programVersion())));
    layout->addWidget(plainLabel(tr("Data analysis and visualization tool for Vortiq VQD data.")));
    layout->addWidget(richLabel(
        "aboutRights", tr("&copy; %1 The Tessaly developers. All rights reserved.").arg(QDate::currentDate().year())));
    const QStringList libraries = {QStringLiteral("Qt6"), QStringLiteral("QWT"), QStringLiteral("HDF5"),
                                   QStringLiteral("OpenCV"), QStringLiteral("Armadillo")};
    layout->addWidget(plainLabel(tr("Built with %1.").arg(libraries.join(QStringLiteral(", ")))));
    layout->addSpacing(4);

    QLabel* legal = richLabel("aboutLegal", legalText(!licenses_.isEmpty()));
    legal->setWordWrap(true);
    legal->setOpenExternalLinks(false);
    // Links can be reached and opened by keyboard, too.
    legal->setTextInteractionFlags(Qt::TextBrowserInteraction);
    legal->setAccessibleName(tr("Licence documents"));
    connect(legal, &QLabel::linkActivated, this, &AboutDialog::onLinkActivated);
    layout->addWidget(legal);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void AboutDialog::onLinkActivated(const QString& url) {
    if (licenses_.isEmpty()) {
        showMessage(this, QMessageBox::Warning, tr("About"), tr("License files are not available in this build."));
        return;
    }
    for (const Document& document : Documents) {
        if (url == QLatin1String(document.link)) {
            openDocument(QDir(licenses_).filePath(QString::fromUtf8(document.path)));
        }
    }
}

void AboutDialog::openDocument(const QString& path) {
    if (!QFileInfo::exists(path)) {
        showMessage(this, QMessageBox::Warning, tr("About"),
                    tr("Could not find:\n%1\n\nThe licenses folder is shipped alongside the application; this build "
                       "appears to be missing it.")
                        .arg(path));
    } else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path))) {
        showMessage(this, QMessageBox::Warning, tr("About"), tr("Could not open:\n%1").arg(path));
    }
}

QString licensesFolder() {
    const QDir program(QCoreApplication::applicationDirPath());
    for (const QString& candidate :
         {program.filePath(QStringLiteral("licenses")), program.filePath(QStringLiteral("../share/tessaly/licenses")),
          QStringLiteral(TESSALY_SOURCE_LICENSES)}) {
        const QString folder = QDir::cleanPath(candidate);
        if (QFileInfo(folder).isDir()) {
            return folder;
        }
    }
    return {};
}

} // namespace Tessaly
