#include "session/compare/ResultTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Tessaly {

namespace {

void appendLine(QByteArray& text, const QStringList& cells, char separator) {
    QStringList written;
    for (const QString& cell : cells) {
        written += cellText(cell, separator);
    }
    text += written.join(QLatin1Char(separator)).toUtf8();
    text += '\n';
}

/// Whether one row comes before another by a column.
bool precedes(const ResultRow& a, const ResultRow& b, std::size_t column, bool descending) {
    const double keyA = a.keys[column];
    const double keyB = b.keys[column];
    if (std::isnan(keyA) != std::isnan(keyB)) {
        return std::isnan(keyB);
    }
    if (std::isnan(keyA)) {
        const int order =
            QString::localeAwareCompare(a.cells[static_cast<int>(column)], b.cells[static_cast<int>(column)]);
        return descending ? order > 0 : order < 0;
    }
    return descending ? keyA > keyB : keyA < keyB;
}

} // namespace

void ResultRow::append(const QString& text) {
    append(text, std::numeric_limits<double>::quiet_NaN());
}

void ResultRow::append(const QString& text, double key) {
    cells += text;
    keys.push_back(key);
}

std::vector<std::size_t> sortedRows(const ResultTable& table, int column, bool descending) {
    std::vector<std::size_t> leaders;
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
        if (row == 0 || !table.rows[row].isDetail) {
            leaders.push_back(row);
        }
    }
    if (column >= 0 && column < table.headings.size()) {
        std::ranges::stable_sort(leaders, [&](std::size_t a, std::size_t b) {
            return precedes(table.rows[a], table.rows[b], static_cast<std::size_t>(column), descending);
        });
    }
    std::vector<std::size_t> order;
    for (const std::size_t leader : leaders) {
        order.push_back(leader);
        for (std::size_t row = leader + 1; row < table.rows.size() && table.rows[row].isDetail; ++row) {
            order.push_back(row);
        }
    }
    return order;
}

char separatorFor(const QString& path) {
    return path.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive) ? ',' : '\t';
}

QString cellText(const QString& cell, char separator) {
    if (separator == '\t') {
        return cell;
    }
    const bool quoted = std::ranges::any_of(
        cell, [separator](QChar c) { return c == QLatin1Char(separator) || c == u'"' || c == u'\n' || c == u'\r'; });
    return quoted ? u'"' + QString(cell).replace(u'"', QStringLiteral("\"\"")) + u'"' : cell;
}

QByteArray tableText(const ResultTable& table, char separator) {
    QByteArray text;
    appendLine(text, table.headings, separator);
    for (const ResultRow& row : table.rows) {
        appendLine(text, row.cells, separator);
    }
    return text;
}

} // namespace Tessaly
