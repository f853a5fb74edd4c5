#include "services/HelpPages.h"

#include <QWidget>

#include <algorithm>
#include <array>

namespace Tessaly {

namespace {

struct Entry {
    const char* owner; ///< object name
    const char* page;
};

/// Every window and dock, and the parts of the main window.
constexpr std::array Entries = {
    Entry{"datasetsDock", "opening.html#list"},
    Entry{"filtersDock", "filters.html"},
    Entry{"calculationsDock", "calculations.html"},
    Entry{"metadataDock", "events.html#metadata"},
    Entry{"statisticsDock", "plot.html#statistics"},
    Entry{"plotSettingsPanel", "plot.html"},
    Entry{"scatterPlot", "plot.html#zoom"},
    Entry{"eventPanel", "events.html"},
    Entry{"eventSpinBox", "events.html"},
    Entry{"renameEdit", "opening.html#list"},
    Entry{"filterGroupsMatrixWindow", "filters.html#matrix"},
    Entry{"combinePlotWindow", "combine.html"},
    Entry{"imageGalleryWindow", "gallery.html"},
    Entry{"statisticalEvalWindow", "statistics.html"},
    Entry{"exportDialog", "export.html#events"},
    Entry{"statSummaryDialog", "export.html#statistical-summary"},
    Entry{"qualityDialog", "stiffness.html#how-far-to-trust-it"},
    Entry{"exportGroupsDialog", "filters.html#groups"},
    Entry{"addDatasetsDialog", "combine.html#datasets"},
    Entry{"feedbackDialog", "troubleshooting.html#feedback"},
};

} // namespace

QString helpPageFor(const QWidget* widget) {
    for (; widget; widget = widget->parentWidget()) {
        const QString name = widget->objectName();
        const auto* const entry = std::find_if(Entries.begin(), Entries.end(),
                                               [&](const Entry& e) { return name == QLatin1String(e.owner); });
        if (entry != Entries.end()) {
            return QLatin1String(entry->page);
        }
    }
    return QStringLiteral("index.html");
}

QStringList helpPageOwners() {
    QStringList names;
    for (const Entry& entry : Entries) {
        names += QLatin1String(entry.owner);
    }
    return names;
}

} // namespace Tessaly
