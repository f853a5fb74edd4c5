#include "ui/event/MetadataPanel.h"

#include "core/VQDMetadata.h"
#include "widgets/EmptyHint.h"
#include "widgets/ToolTips.h"

#include <QHeaderView>

#include <algorithm>
#include <array>
#include <string_view>

namespace Tessaly {

namespace {

struct SectionTitle {
    std::string_view name;
    const char* title;
    VQDMetadata::Section VQDMetadata::*entries;
};

constexpr std::array<SectionTitle, 8> Sections = {{
    {"experiment", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Experiment"), &VQDMetadata::experiment},
    {"setup", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Setup"), &VQDMetadata::setup},
    {"imaging", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Imaging"), &VQDMetadata::imaging},
    {"online_contour", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Online Contour"), &VQDMetadata::online_contour},
    {"fluorescence", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Fluorescence"), &VQDMetadata::fluorescence},
    {"online_filter", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Online Filter"), &VQDMetadata::online_filter},
    {"offline_filter", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Offline Filter"), &VQDMetadata::offline_filter},
    {"export", QT_TRANSLATE_NOOP("Tessaly::MetadataPanel", "Export"), &VQDMetadata::exportSection},
}};

bool isOther(std::string_view attribute) {
    const std::size_t colon = attribute.find(':');
    if (colon == std::string_view::npos) {
        return true;
    }
    const std::string_view section = attribute.substr(0, colon);
    for (const SectionTitle& known : Sections) {
        if (known.name == section) {
            return false;
        }
    }
    return true;
}

void addSection(QTreeWidget* tree, const QString& title, const VQDMetadata::Section& entries) {
    if (entries.empty()) {
        return;
    }
    auto* section = new QTreeWidgetItem(tree, {title});
    QFont bold = tree->font();
    bold.setWeight(QFont::Bold);
    section->setFont(0, bold);
    section->setFirstColumnSpanned(true);
    for (const auto& [key, value] : entries) {
        const QString text = QString::fromStdString(value);
        auto* item = new QTreeWidgetItem(section, {QString::fromStdString(key), text});
        // Either column may be too narrow for its text.
        item->setToolTip(0, plainToolTip(item->text(0)));
        item->setToolTip(1, plainToolTip(text));
    }
}

} // namespace

MetadataPanel::MetadataPanel(QWidget* parent) : QTreeWidget(parent) {
    setObjectName(QStringLiteral("metadataTree"));
    setAccessibleName(tr("Metadata"));
    setColumnCount(2);
    setHeaderLabels({tr("Parameter"), tr("Value")});
    header()->setStretchLastSection(true);
    setStyleSheet(QStringLiteral("QTreeWidget::item { padding: 2px 0; }"));
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setIndentation(12);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The stretched section never gets narrower than it was asked to be.
    header()->resizeSection(1, header()->minimumSectionSize());
    new EmptyHint(tr("No dataset yet. The settings that its file was measured with will be here."), this);
}

void MetadataPanel::resizeEvent(QResizeEvent* event) {
    QTreeWidget::resizeEvent(event);
    fitColumns();
}

void MetadataPanel::fitColumns() {
    // Keys get what they need up to half of the room: both columns stay readable beside a long key.
    const int half = viewport()->width() / 2;
    setColumnWidth(0, std::min(std::max(sizeHintForColumn(0), header()->sectionSizeHint(0)), half));
}

void MetadataPanel::showMetadata(const VQDMetadata& metadata) {
    clear();
    for (const SectionTitle& section : Sections) {
        addSection(this, tr(section.title), metadata.*section.entries);
    }
    VQDMetadata::Section other;
    for (const auto& [name, value] : metadata.allAttributes) {
        if (isOther(name)) {
            other.emplace(name, value);
        }
    }
    addSection(this, tr("Other"), other);
    expandAll();
    fitColumns();
}

} // namespace Tessaly
