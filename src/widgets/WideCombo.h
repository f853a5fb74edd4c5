#pragma once

#include <QComboBox>

namespace Tessaly {

/// A combo box whose list opens as wide as its longest entry, however narrow the box is, and shows at most 20 rows.
/// The style sheet of the program lets the list be one that scrolls; with other sheets the style may show all rows.
class WideCombo : public QComboBox {
    Q_OBJECT

public:
    explicit WideCombo(QWidget* parent = nullptr);

    void showPopup() override;
};

} // namespace Tessaly
