#pragma once

#include "session/compare/CompareSettings.h"
#include "session/compare/Guidance.h"

#include <QHash>
#include <QSet>
#include <QWidget>

#include <vector>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QScrollArea;

namespace Tessaly {

/// What the user chooses for all tabs, and the buttons that start a run. Shows what its tab needs.
class AnalysisSettings : public QWidget {
    Q_OBJECT

public:
    explicit AnalysisSettings(QWidget* parent = nullptr);

    CompareSettings settings() const;
    /// Emits nothing.
    void setSettings(const CompareSettings& settings);
    DistributionMode distributionMode() const;

    /// Lists features. Those that the user has selected stay selected, and are selected again when they come back.
    /// Emits nothing.
    void setFeatures(std::vector<ComparedFeature> features);
    /// The selected features, in list order.
    std::vector<ComparedFeature> selectedFeatures() const;
    /// Names of all features that the user has selected, listed now or not.
    QStringList wantedFeatures() const;
    void setWantedFeatures(const QStringList& names);

    /// Shows the controls of a tab.
    void setTab(CompareTab tab);
    void setTestLabel(const QString& text);
    void setGuidance(const QString& text);
    /// Scrolls to the end of the guidance, which may lie beneath what a low dock shows.
    void revealGuidance();

    /// While work runs the buttons that start some are off.
    void showProgress(int done, int total);
    /// @param dropped  the run was given up because something has changed
    void hideProgress(bool dropped);

    bool idsVisible() const;
    bool technicalIds() const;

signals:
    /// Design or replicates: how categories show their IDs, and what is said of them.
    void designChanged();
    /// Any other choice that the guidance depends on.
    void choiceChanged();
    void detectIdsRequested();
    void runAnalysisRequested();
    void runRocRequested();
    void runDistributionRequested();

private:
    void makeFeatureList();
    void makeForm();
    void addRow(const QString& text, QWidget* field);
    void addRow(QWidget* field);
    QWidget* makeRunArea();
    void connectChoices();
    void showSelection();
    void onSelectionChanged();
    void onDesignChanged();
    void updateVisibility();

    QListWidget* features_ = nullptr;
    QGridLayout* form_ = nullptr;
    QHash<const QWidget*, QLabel*> labels_; ///< by field
    QComboBox* summary_ = nullptr;
    QCheckBox* replicates_ = nullptr;
    QPushButton* detectIds_ = nullptr;
    QComboBox* design_ = nullptr;
    QCheckBox* connectionLines_ = nullptr;
    QDoubleSpinBox* alpha_ = nullptr;
    QComboBox* correction_ = nullptr;
    QLabel* testLabel_ = nullptr;
    QComboBox* mode_ = nullptr;
    QLabel* guidance_ = nullptr;
    QScrollArea* scroll_ = nullptr;
    QPushButton* runAnalysis_ = nullptr;
    QPushButton* runRoc_ = nullptr;
    QPushButton* runDistribution_ = nullptr;
    QProgressBar* progress_ = nullptr;
    QLabel* dropped_ = nullptr;
    CompareTab tab_ = CompareTab::Tests;
    std::vector<ComparedFeature> listed_;
    QStringList wanted_;
    bool revealed_ = false; ///< the end of the guidance stays in sight until the user scrolls
    bool listing_ = false;  ///< the program changes the selection
};

} // namespace Tessaly
