#pragma once

#include "session/CalculationRunner.h"

#include <QObject>

class QWidget;

namespace Tessaly {

class CalculationsDockWidget;
class EModulus;
class Session;
struct DatasetEntry;

/// Carries the dock's requests to the runner and the runner's news to the dock, and keeps the dock's pages to the
/// active dataset. What the results are shown in listens to its signal.
class CalculationController : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of dialogs
    CalculationController(Session& session, EModulus& emodulus, CalculationRunner& runner, CalculationsDockWidget& dock,
                          QWidget* window);

signals:
    /// A calculation has ended: features may be new, or have other values.
    void featuresChanged(Calculation kind);

private:
    void showActive();
    /// What can be calculated for the active dataset, and the deformation features that moduli can be computed from.
    void showOffers();
    void refine();
    void compensate();
    void computeModuli();
    void computeFourier();
    void assessQuality();
    /// Starts a job; if another one runs the dock says so.
    void start(CalculationJob job);
    void showProgress(int percent, int number, int count);
    void onEnded(Calculation kind);
    /// The active dataset if it can be worked on, else null.
    DatasetEntry* loadedActive() const;
    CalculationScope scopeOf(Calculation kind) const;
    EModulusParams paramsOfActive(const DatasetEntry& dataset) const;

    Session& session_;
    EModulus& emodulus_;
    CalculationRunner& runner_;
    CalculationsDockWidget& dock_;
    QWidget* window_;
    bool namesDatasets_ = false; ///< whether the progress of Fourier deformations tells the dataset
};

} // namespace Tessaly
