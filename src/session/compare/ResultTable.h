#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Tessaly {

/// A line of a table of results.
struct ResultRow {
    QStringList cells;
    std::vector<double> keys; ///< what to sort by, cell by cell; NaN for text
    bool isDetail = false;    ///< belongs to the row above it and stays with that

    void append(const QString& text);
    void append(const QString& text, double key);
};

/// A table of results as it is shown and exported.
struct ResultTable {
    QStringList headings;
    std::vector<bool> rightAligned; ///< column by column
    std::vector<ResultRow> rows;
};

/// The order of the rows when sorted by a column: by number, text behind numbers and by itself, details under their
/// row in the order that they have there. Equal rows stay in order.
std::vector<std::size_t> sortedRows(const ResultTable& table, int column, bool descending);

/// Comma for files that end in "csv", tab for all others.
char separatorFor(const QString& path);
/// A cell for a file: with commas, one that holds a comma, a quote or a line break is put in quotes.
QString cellText(const QString& cell, char separator);
/// Headings and rows, each line ended by a line feed. UTF-8.
QByteArray tableText(const ResultTable& table, char separator);

} // namespace Tessaly
