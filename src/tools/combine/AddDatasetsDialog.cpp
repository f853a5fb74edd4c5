#include "tools/combine/AddDatasetsDialog.h"

#include "core/DatasetEntry.h"
#include "session/Session.h"
#include "widgets/EmptyHint.h"
#include "widgets/PlainText.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::AddDatasetsDialog)
};

} // namespace

std::vector<int> askForDatasetsToAdd(QWidget* parent, const Session& session, const std::vector<int>& ids,
                                     const QString& noneLeft) {
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("addDatasetsDialog"));
    dialog.setWindowTitle(Texts::tr("Add Datasets"));
    dialog.setMinimumSize(350, 300);
    auto* layout = new QVBoxLayout(&dialog);
    auto* list = new QListWidget;
    list->setObjectName(QStringLiteral("addDatasetsList"));
    list->setAccessibleName(Texts::tr("Datasets to add"));
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setTextElideMode(Qt::ElideMiddle);
    const bool noneOpen = session.datasets().empty();
    new EmptyHint(noneOpen ? Texts::tr("Open measurements in the main window first.") : noneLeft, list);
    for (const int id : ids) {
        if (const DatasetEntry* entry = session.findById(id)) {
            auto* item = new QListWidgetItem(singleLine(entry->displayName), list);
            item->setToolTip(plainToolTip(entry->displayName));
            item->setData(Qt::UserRole, id);
        }
    }
    auto* label = new QLabel(Texts::tr("Select datasets to add (Ctrl/Shift for multi-select):"));
    label->setBuddy(list);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    QObject::connect(list, &QListWidget::itemDoubleClicked, &dialog, &QDialog::accept);
    layout->addWidget(label);
    layout->addWidget(list, 1);
    layout->addWidget(buttons);
    std::vector<int> chosen;
    if (dialog.exec() == QDialog::Accepted) {
        for (int row = 0; row < list->count(); ++row) {
            if (list->item(row)->isSelected()) {
                chosen.push_back(list->item(row)->data(Qt::UserRole).toInt());
            }
        }
    }
    return chosen;
}

} // namespace Tessaly
