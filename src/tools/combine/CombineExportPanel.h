#pragma once

#include "session/compare/CombineSettings.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;
class QSpinBox;

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
    void addUniformColor(QFormLayout& form);

    QSpinBox* tickLabels_ = nullptr;
    QSpinBox* axisLabels_ = nullptr;
    QCheckBox* showTitles_ = nullptr;
    QSpinBox* titleSize_ = nullptr;
    QCheckBox* boldTitles_ = nullptr;
    QCheckBox* colorTitles_ = nullptr;
    QSpinBox* width_ = nullptr;
    QSpinBox* height_ = nullptr;
    QSpinBox* pointSize_ = nullptr;
    QDoubleSpinBox* axisWidth_ = nullptr;
    QCheckBox* grid_ = nullptr;
    QCheckBox* rightTopAxes_ = nullptr;
    QLabel* uniformLabel_ = nullptr;
    QComboBox* uniformColor_ = nullptr;
};

} // namespace Tessaly
