// What the controls of a combine window are called, hold and begin with.

#include "CombineFixture.h"

#include <QCheckBox>
#include <QSpinBox>

#include <set>

namespace Tessaly {
namespace {

class CombineControlsTest : public CombineFixture {};

TEST_F(CombineControlsTest, ListsAndChecks) {
    const std::vector<std::pair<const char*, QStringList>> lists{
        {"displayModeCombo", {"Array", "Array + Contour", "Same Plot"}},
        {"colorModeCombo", {"Heatmap (Density)", "Dataset Color", "None"}},
        {"contourModeCombo", {"Off", "Overlay", "Only"}},
        {"uniformColorCombo", {"Black", "Gray", "Blue", "Red", "Green", "Purple"}},
    };
    for (const auto& [name, texts] : lists) {
        const auto* combo = part<QComboBox>(name);
        QStringList shown;
        for (int i = 0; i < combo->count(); ++i) {
            shown << combo->itemText(i);
        }
        EXPECT_EQ(shown, texts) << name;
        EXPECT_EQ(combo->currentIndex(), QString(name) == "colorModeCombo" ? 1 : 0) << name;
    }
    QList<QColor> colors;
    for (int i = 0; i < 6; ++i) {
        colors << part<QComboBox>("uniformColorCombo")->itemData(i).value<QColor>();
    }
    EXPECT_EQ(colors, (QList<QColor>{Qt::black, Qt::darkGray, Qt::blue, Qt::red, Qt::darkGreen, QColor(128, 0, 255)}));
    struct Check {
        const char* name;
        const char* text;
        bool on;
        const char* toolTip;
    };
    for (const Check& check :
         {Check{"syncFeaturesCheckBox", "Sync Features", false, "Keep all datasets on the same X/Y axes"},
          {"showLegendCheckBox", "Show Legend", false, ""},
          {"syncAxesCheckBox", "Sync Axes", false, "Use same axis limits for all plots"},
          {"isoelasticsCheckBox", "Isoelastics", false, "Show isoelasticity lines on area vs. deformation plots"},
          {"isoLabelsCheckBox", "Labels", false, "Show kPa labels on isoelasticity lines"},
          {"manualArraySizeCheckBox", "Manual Array Size", false, ""},
          {"showCountCheckBox", "Show N", false, "Display the number of plotted events (N = #) in each array plot"},
          {"showTitleCheckBox", "Show titles", true, ""},
          {"titleBoldCheckBox", "Bold titles", false, ""},
          {"titleUseColorCheckBox", "Color titles", true, ""},
          {"showGridCheckBox", "Grid", true, ""},
          {"showRightTopAxesCheckBox", "Right/Top axes", true, ""}}) {
        const auto* box = part<QCheckBox>(check.name);
        EXPECT_EQ(box->text(), check.text);
        EXPECT_EQ(box->isChecked(), check.on) << check.name;
        EXPECT_EQ(box->toolTip(), check.toolTip) << check.name;
    }
}

TEST_F(CombineControlsTest, Numbers) {
    struct Number {
        const char* name;
        double minimum, maximum, step, value;
        const char* suffix;
    };
    for (const Number& number : {Number{"innerFractionSpinBox", 1, 99, 5, 10, "%"},
                                 {"outerFractionSpinBox", 1, 99, 5, 67, "%"},
                                 {"arrayColsBox", 0, 50, 1, 0, ""},
                                 {"arrayRowsBox", 0, 50, 1, 0, ""},
                                 {"tickLabelSizeBox", 4, 24, 1, 12, " pt"},
                                 {"axisLabelSizeBox", 4, 24, 1, 14, " pt"},
                                 {"titleSizeBox", 4, 24, 1, 14, " pt"},
                                 {"plotWidthBox", 50, 600, 1, 100, " mm"},
                                 {"plotHeightBox", 50, 600, 1, 100, " mm"},
                                 {"pointSizeBox", 1, 20, 1, 4, " px"},
                                 {"axisLineWidthBox", 0.5, 5.0, 0.5, 1.0, " px"},
                                 {"xMinBox", -1e12, 1e12, 1, 0, ""},
                                 {"xMaxBox", -1e12, 1e12, 1, 0, ""},
                                 {"yMinBox", -1e12, 1e12, 1, 0, ""},
                                 {"yMaxBox", -1e12, 1e12, 1, 0, ""}}) {
        const auto* box = part<QWidget>(number.name);
        const auto expect = [&](const char* property, const QVariant& value) {
            EXPECT_EQ(box->property(property), value) << number.name << ": " << property;
        };
        expect("minimum", number.minimum);
        expect("maximum", number.maximum);
        expect("singleStep", number.step);
        expect("value", number.value);
        expect("suffix", QString(number.suffix));
        if (QString(number.suffix).isEmpty() && number.maximum > 50) {
            expect("decimals", 4);
        }
    }
    EXPECT_EQ(part<QSpinBox>("arrayRowsBox")->text(), "auto");
}

TEST_F(CombineControlsTest, EveryControlHasANameOfItsOwn) {
    const QString name = session().findById(show())->displayName;
    std::set<QString> names;
    for (const QWidget* control : row(0)->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (control->focusPolicy() != Qt::NoFocus) {
            EXPECT_TRUE(control->accessibleName().contains(name)) << control->objectName().toStdString();
            EXPECT_TRUE(names.insert(control->accessibleName()).second) << control->objectName().toStdString();
        }
    }
    EXPECT_EQ(names.size(), 7U); // place, colour, removal, two features and two scales
    for (const char* panel : {"combineSettingsPanel", "combineExportPanel"}) {
        for (const QWidget* control :
             part<QWidget>(panel)->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (control->focusPolicy() != Qt::NoFocus) {
                EXPECT_FALSE(control->accessibleName().isEmpty()) << control->objectName().toStdString();
            }
        }
    }
}

} // namespace
} // namespace Tessaly
