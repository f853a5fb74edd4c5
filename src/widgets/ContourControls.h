#pragma once

#include <QObject>

#include <array>

class QComboBox;
class QLabel;
class QSpinBox;
class QWidget;

namespace Tessaly {

/// The controls of a contour overlay: whether contours are drawn, and their two levels. The owner lays them out, which
/// also makes it their parent. The program's own changes emit nothing.
class ContourControls : public QObject {
    Q_OBJECT

public:
    /// A control and the label before it.
    struct Row {
        QLabel* label = nullptr;
        QWidget* control = nullptr;
    };

    /// @param labelEnd  what follows the text of each label, such as ":"
    explicit ContourControls(QObject* parent, const QString& labelEnd = {});

    /// Mode, inner level, outer level, in this order.
    std::array<Row, 3> rows() const;

    /// An unknown mode counts as off. Levels are fractions, shown as whole percents from 1 to 99; NaN leaves a level
    /// alone.
    void setChoice(int mode, double innerFraction, double outerFraction);
    int mode() const;
    double innerFraction() const;
    double outerFraction() const;

signals:
    /// The user has changed a control.
    void changed();

private:
    void makeRow(Row& row, QWidget* control, const QString& text, const char* name, const QString& accessibleName);

    std::array<Row, 3> rows_;
    QComboBox* mode_ = nullptr;
    QSpinBox* inner_ = nullptr;
    QSpinBox* outer_ = nullptr;
};

} // namespace Tessaly
