#include "batch/BatchPlan.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QStringList>

#include <algorithm>

namespace Tessaly {

EventFilter filterOf(const BatchPlan& plan) {
    EventFilter filter;
    filter.setEnabled(plan.filterEnabled);
    filter.setCombineMode(plan.combineMode);
    for (const PlanGate& gate : plan.gates) {
        for (const FilterRule& rule : gate.rules) {
            filter.addRule(rule);
        }
    }
    return filter;
}

QString problemOf(const BatchPlan& plan) {
    const auto tr = [](const char* text) { return QCoreApplication::translate("Tessaly::BatchPlan", text); };
    if (!plan.summary && !plan.table && !plan.measurement && !plan.counts) {
        return tr("the plan asks for no output");
    }
    if (plan.summary && (plan.summary->features.empty() || summaryFigures(*plan.summary).empty())) {
        return tr("the summary needs at least one feature and one statistic");
    }
    if (plan.table && plan.table->features.empty()) {
        return tr("the table needs at least one feature");
    }
    return {};
}

QByteArray planDigest(const BatchPlan& plan) {
    return QCryptographicHash::hash(planToJson(plan), QCryptographicHash::Sha256).toHex();
}

const std::vector<NamedFigure>& namedFigures() {
    using Config = StatSummaryConfig;
    static const std::vector<NamedFigure> figures{
        {"N", &Config::count},   {"Median", &Config::median}, {"IQR", &Config::iqr}, {"Q1", &Config::q1},
        {"Q3", &Config::q3},     {"Mean", &Config::mean},     {"SD", &Config::sd},   {"SEM", &Config::sem},
        {"CV (%)", &Config::cv}, {"Min", &Config::min},       {"Max", &Config::max}, {"Skewness", &Config::skewness}};
    return figures;
}

QString chooseFigures(const QStringList& names, StatSummaryConfig& config) {
    for (const NamedFigure& figure : namedFigures()) {
        config.*figure.field = false;
    }
    for (const QString& name : names) {
        const auto found = std::ranges::find_if(namedFigures(), [&name](const NamedFigure& figure) {
            return name.compare(QLatin1StringView(figure.name), Qt::CaseInsensitive) == 0;
        });
        if (found == namedFigures().end()) {
            return name;
        }
        config.*(found->field) = true;
    }
    return {};
}

} // namespace Tessaly
