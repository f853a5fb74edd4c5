#pragma once

#include <QSizeF>
#include <QWidget>

#include <vector>

class QLabel;
class QVBoxLayout;
class QwtPlot;

namespace Tessaly {

/// The plots of a run, one below the other; they scroll if they need more room. Each has a menu to copy and to export
/// it. Without plots a sentence tells how to get some.
class PlotStack : public QWidget {
    Q_OBJECT

public:
    /// @param size  of a plot in exported files, in millimetres
    PlotStack(const QString& emptySentence, const QSizeF& size, QWidget* parent = nullptr);

    /// Replaces all plots; takes them over.
    void setPlots(const std::vector<QwtPlot*>& plots);
    const std::vector<QwtPlot*>& plots() const { return plots_; }

    /// Writes all plots into one file, one below the other. Returns whether it was written.
    bool write(const QString& fileName) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showMenu(QwtPlot& plot, const QPoint& position);
    void copyPicture(QwtPlot& plot) const;
    void exportOne(QwtPlot& plot);

    QSizeF size_;
    QVBoxLayout* layout_ = nullptr;
    QLabel* hint_ = nullptr;
    std::vector<QwtPlot*> plots_;
};

/// Filters of dialogs for files with plots.
QString plotFileFilters();
/// Writes a plot that fills its page, as on paper. Returns whether it was written.
bool writePlotAsDocument(QwtPlot& plot, const QString& fileName, const QSizeF& size, int resolution);
/// Tells that a file wasn't written.
void tellNotWritten(QWidget* parent, const QString& fileName);

} // namespace Tessaly
