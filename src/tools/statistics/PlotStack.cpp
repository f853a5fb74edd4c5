#include "tools/statistics/PlotStack.h"

#include "plot/PlotAppearance.h"
#include "plot/PlotFiles.h"
#include "widgets/EmptyHint.h"
#include "widgets/FocusEdge.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_scale_widget.h>

#include <memory>
#include <utility>

namespace Tessaly {

namespace {

constexpr double Gap = 8.0; // millimetres between plots in a file
constexpr int Resolution = 150;
constexpr double MillimetresPerInch = 25.4;
constexpr double SvgUnitsPerMillimetre = 3.7795;

/// The look on paper of many plots for as long as this lives.
class PaperLook {
public:
    explicit PaperLook(const std::vector<QwtPlot*>& plots) {
        for (QwtPlot* plot : plots) {
            looks_.push_back(std::make_unique<PlotAppearance>(*plot));
            looks_.back()->applyForPrint();
        }
    }

private:
    std::vector<std::unique_ptr<PlotAppearance>> looks_;
};

PlotPage stackedPage(const std::vector<QwtPlot*>& plots, const QSizeF& size) {
    const auto count = static_cast<double>(plots.size());
    PlotPage page;
    page.size = QSizeF(size.width(), size.height() * count + Gap * (count - 1.0));
    for (std::size_t i = 0; i < plots.size(); ++i) {
        const double top = static_cast<double>(i) * (size.height() + Gap);
        page.plots.push_back({plots[i], QRectF(QPointF(0.0, top), size)});
    }
    const double pixels = Resolution / MillimetresPerInch;
    page.pixels = QSize(static_cast<int>(page.size.width() * pixels), static_cast<int>(page.size.height() * pixels));
    page.resolution = Resolution;
    page.svgUnits = SvgUnitsPerMillimetre;
    return page;
}

} // namespace

QString plotFileFilters() {
    return PlotStack::tr("PNG Image (*.png);;SVG Vector (*.svg);;PDF Document (*.pdf)");
}

bool writePlotAsDocument(QwtPlot& plot, const QString& fileName, const QSizeF& size, int resolution) {
    const PaperLook look({&plot});
    return writePlots(fileName, pageOf(plot, size, resolution));
}

void tellNotWritten(QWidget* parent, const QString& fileName) {
    showMessage(parent, QMessageBox::Warning, PlotStack::tr("Export"),
                PlotStack::tr("Could not write:\n%1").arg(fileName));
}

PlotStack::PlotStack(const QString& emptySentence, const QSizeF& size, QWidget* parent) : QWidget(parent), size_(size) {
    auto* content = new QWidget;
    layout_ = new QVBoxLayout(content);
    layout_->setContentsMargins(4, 4, 4, 4);
    layout_->setSpacing(8);
    auto* scroll = new QScrollArea;
    scroll->setObjectName(QStringLiteral("plotScroll"));
    scroll->setAccessibleName(tr("Plots"));
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(content);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(scroll);
    hint_ = new EmptyHint(emptySentence, this);
}

void PlotStack::setPlots(const std::vector<QwtPlot*>& plots) {
    for (QwtPlot* old : std::exchange(plots_, plots)) {
        delete old;
    }
    for (QwtPlot* plot : plots_) {
        layout_->addWidget(plot, 1);
        plot->ensurePolished(); // which may give it other fonts
        plot->updateLayout();
        plot->setFocusPolicy(Qt::StrongFocus); // for the key that brings up the menu
        new FocusEdge(plot);
        for (const int axis : {QwtAxis::XBottom, QwtAxis::YLeft}) {
            plot->axisWidget(axis)->installEventFilter(this);
        }
        plot->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(plot, &QWidget::customContextMenuRequested, this,
                [this, plot](const QPoint& position) { showMenu(*plot, position); });
    }
    hint_->setVisible(plots_.empty());
}

bool PlotStack::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move) {
        // An axis may get another extent while the canvas keeps its size, which it remembers its picture for.
        auto* plot = qobject_cast<QwtPlot*>(watched->parent());
        if (auto* canvas = plot ? qobject_cast<QwtPlotCanvas*>(plot->canvas()) : nullptr) {
            canvas->invalidateBackingStore();
            canvas->update();
        }
    }
    return QWidget::eventFilter(watched, event);
}

bool PlotStack::write(const QString& fileName) const {
    if (plots_.size() == 1) {
        return writePlotAsDocument(*plots_[0], fileName, size_, Resolution);
    }
    const PaperLook look(plots_);
    return writePlots(fileName, stackedPage(plots_, size_));
}

void PlotStack::showMenu(QwtPlot& plot, const QPoint& position) {
    // A child of the plot: it goes when a run that ends replaces the plots.
    auto* menu = new QMenu(&plot);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("plotMenu"));
    menu->addAction(tr("Copy as Picture"), &plot, [this, &plot] { copyPicture(plot); })
        ->setObjectName(QStringLiteral("copyPicture"));
    menu->addAction(tr("Export This Plot..."), &plot, [this, &plot] { exportOne(plot); })
        ->setObjectName(QStringLiteral("exportPlot"));
    menu->popup(plot.mapToGlobal(position));
}

void PlotStack::copyPicture(QwtPlot& plot) const {
    const PaperLook look({&plot});
    QGuiApplication::clipboard()->setImage(pictureOf(pageOf(plot, size_, Resolution)));
}

void PlotStack::exportOne(QwtPlot& plot) {
    // While the dialog is open a run may end and replace the plots.
    const QPointer<QwtPlot> guard(&plot);
    const QPointer<PlotStack> self(this);
    const QString fileName = askSaveFileName(window(), tr("Export This Plot"), plotFileFilters());
    if (guard && self && !fileName.isEmpty() && !writePlotAsDocument(plot, fileName, size_, Resolution)) {
        tellNotWritten(window(), fileName);
    }
}

} // namespace Tessaly
