#include "ui/filters/GroupSelectionDialog.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace Tessaly {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::GroupSelectionDialog", text);
}

void checkAll(QListWidget* list, Qt::CheckState state) {
    for (int row = 0; row < list->count(); ++row) {
        list->item(row)->setCheckState(state);
    }
}

QListWidget* makeList(const std::vector<std::unique_ptr<FilterGroup>>& groups) {
    auto* list = new QListWidget;
    list->setObjectName(QStringLiteral("groupsToExportList"));
    list->setAccessibleName(tr("Groups to export"));
    for (const auto& group : groups) {
        auto* item = new QListWidgetItem(QString::fromStdString(group->name), list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setData(Qt::UserRole, group->id);
        item->setCheckState(Qt::Checked);
    }
    return list;
}

} // namespace

std::vector<int> askGroupsToExport(QWidget* parent, const std::vector<std::unique_ptr<FilterGroup>>& groups) {
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("exportGroupsDialog"));
    dialog.setWindowTitle(tr("Export Filter Groups"));
    dialog.resize(360, 360);
    QListWidget* list = makeList(groups);
    auto* all = new QPushButton(tr("Select All"));
    all->setObjectName(QStringLiteral("selectAllButton"));
    all->setAutoDefault(false);
    auto* none = new QPushButton(tr("Select None"));
    none->setObjectName(QStringLiteral("selectNoneButton"));
    none->setAutoDefault(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QObject::connect(all, &QPushButton::clicked, list, [list] { checkAll(list, Qt::Checked); });
    QObject::connect(none, &QPushButton::clicked, list, [list] { checkAll(list, Qt::Unchecked); });
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* choices = new QHBoxLayout;
    choices->addWidget(all);
    choices->addWidget(none);
    choices->addStretch();
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new QLabel(tr("Select groups to export:")));
    layout->addWidget(list);
    layout->addLayout(choices);
    layout->addWidget(buttons);

    std::vector<int> chosen;
    if (dialog.exec() == QDialog::Accepted) {
        for (int row = 0; row < list->count(); ++row) {
            if (list->item(row)->checkState() == Qt::Checked) {
                chosen.push_back(list->item(row)->data(Qt::UserRole).toInt());
            }
        }
    }
    return chosen;
}

} // namespace Tessaly
