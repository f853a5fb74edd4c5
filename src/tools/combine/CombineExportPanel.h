#pragma once

#include "session/compare/CombineSettings.h"
#include "widgets/BoundControls.h"

#include <QWidget>

class QFormLayout;
class QLabel;

namespace Tessaly {

/// The controls for how plots look on paper.
class CombineExportPanel : public QWidget {
    Q_OBJECT

public:
    explicit CombineExportPanel(QWidget* parent = nullptr);

    /// What the controls say.
    CombineExportSettings settings() const;
    /// Shows settings without a signal. A uniform colour that isn't offered leaves that control alone.
    void showSettings(const CombineExportSettings& settings);
    /// The uniform colour counts in one colour mode only.
    void setUniformColorVisible(bool visible);

signals:
    void settingsChanged();

private:
    QSpinBox* addBox(QFormLayout& form, const QString& text, const char* name, std::pair<int, int> range,
                     const QString& suffix, const QString& accessibleName = {});
    QCheckBox* addCheck(QFormLayout& form, const QString& text, const char* name);
    QDoubleSpinBox* addAxisWidth(QFormLayout& form);
    void addUniformColor(QFormLayout& form);

    BoundControls<CombineExportSettings> controls_; ///< all but the colour
    QLabel* uniformLabel_ = nullptr;
    QComboBox* uniformColor_ = nullptr;
};

} // namespace Tessaly
