#pragma once

#include "calc/LinearAlgebra.h"
#include "calc/emodulus/EModulus.h"
#include "calc/fluorescence/FLRefinement.h"
#include "session/CalculationJobs.h"

#include <QWidget>

#include <optional>
#include <vector>

class QCheckBox;
class QComboBox;
class QProgressBar;
class QPushButton;
class QStackedWidget;

namespace Tessaly {

class CompensationPage;
class ModulusPage;
class RefinementPage;

/// Why a calculation can't be done for the dataset shown, in words for the user; empty where it can.
struct CalculationsRefused {
    QString refinement;
    QString compensation;
    QString modulus;
    QString assessment;
    QString fourier;
};

/// Content of the "Calculations" dock: a page for each calculation, and the progress of the one that runs. Knows no
/// datasets: it shows what it is told, gives what the user has set, and says what the user wants done.
class CalculationsDockWidget : public QWidget {
    Q_OBJECT

public:
    explicit CalculationsDockWidget(QWidget* parent = nullptr);

    /// Shows a dataset's conditions; null for no dataset.
    void setDatasetMetadata(const VQDMetadata* metadata, bool hasTemperatureFeature = false);
    /// Builds the spillover table anew for these channels.
    void setChannels(const std::vector<int>& channels);
    void setSpilloverMatrix(const SquareMatrix& matrix);
    void fillDeformationSources(bool offered, bool hasFc, bool hasOdd);
    /// Enables the buttons of what can be done for the dataset shown; the tool tips of the others say why not.
    void setRefused(const CalculationsRefused& refused);

    /// Disables the button of a calculation that runs and shows an empty progress bar; nothing ends both.
    void setRunning(std::optional<Calculation> running);
    /// @param format  as of QProgressBar
    void setProgress(int percent, const QString& format);

    /// The parameters for the dataset shown; what its file doesn't state counts as 0.
    EModulusParams emodulusParams() const;
    /// The parameters for any dataset: its own conditions, with what the user has set here.
    /// @param allowEvent  whether the dataset has a temperature of each event
    EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool allowEvent = false) const;
    /// What the user has set here, for whatever dataset.
    EModulusSettings emodulusSettings() const;
    FLRefinementParams fluorescenceParams() const;
    SquareMatrix spilloverMatrix() const;
    bool appliesToAll(Calculation kind) const;
    bool assessesFiltered() const;
    bool showsRefinedTrace() const;

signals:
    void refineFluorescence();
    void traceDisplayChanged();
    void compensateCrosstalk();
    void computeEmodulus();
    void assessEmodQuality();
    void runInference(); ///< not in use
    void computeFourierDeform();
    /// The user has set other conditions: lines of equal modulus lie elsewhere.
    void conditionsChanged();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* buildFourierPage();
    void addPage(const QString& title, QWidget* page);
    QPushButton* startButtonOf(Calculation kind) const;
    void updateButtons();

    QStackedWidget* pages_ = nullptr;
    QComboBox* chooser_ = nullptr;
    ModulusPage* modulus_ = nullptr;
    CompensationPage* compensation_ = nullptr;
    RefinementPage* refinement_ = nullptr;
    QCheckBox* fourierApplyToAll_ = nullptr;
    QPushButton* fourierStart_ = nullptr;
    QProgressBar* progress_ = nullptr;

    CalculationsRefused refused_;
    std::optional<Calculation> running_;
};

} // namespace Tessaly
