#include "app/Theme.h"

#include "app/Startup.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QIcon>
#include <QImage>
#include <QLocale>
#include <qwt_scale_draw.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(ThemeTest, EveryPictureOfTheSheetAndTheFrameIsThere) {
    EXPECT_FALSE(QImage(":/Logo_Orvane_rgb_randlos.png").isNull());
    EXPECT_FALSE(QApplication::windowIcon().pixmap(64).isNull());
    // Each icon must come out of the SVG plug-in with something drawn.
    for (const char* name : {":/checkmark.svg", ":/arrow-up.svg", ":/arrow-down.svg"}) {
        EXPECT_TRUE(applicationStyleSheet().contains(QString("url(%1)").arg(name))) << name;
        const QImage icon = QIcon(name).pixmap(16, 16).toImage().convertToFormat(QImage::Format_ARGB32);
        int opaque = 0;
        for (int i = 0; i < icon.width() * icon.height(); ++i) {
            opaque += qAlpha(icon.pixel(i % icon.width(), i / icon.width())) > 200;
        }
        EXPECT_GT(opaque, 8) << name;
    }
}

TEST(ThemeTest, PaletteAndSheetReachTheWidgets) {
    EXPECT_EQ(QApplication::palette().color(QPalette::Inactive, QPalette::Highlight), QColor(0, 171, 173));
    QComboBox combo;
    combo.resize(120, combo.sizeHint().height());
    EXPECT_EQ(combo.grab().toImage().pixelColor(60, 0), QColor("#c8cbd0"));
}

TEST(ThemeTest, StaysLightOnADarkDesktop) {
    const QPalette before = QApplication::palette();
    QApplication::setPalette(QPalette(QColor(40, 40, 40), QColor(30, 30, 30)));
    const QPalette palette = applicationPalette();
    applyTheme(*qobject_cast<QApplication*>(QCoreApplication::instance()));
    const QPalette inForce = QApplication::palette();
    EXPECT_EQ(inForce, before);
    QApplication::setPalette(before);
    for (int i = 0; i < QPalette::NColorRoles; ++i) {
        const auto role = static_cast<QPalette::ColorRole>(i);
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            EXPECT_TRUE(role == QPalette::NoRole || palette.isBrushSet(group, role)) << i;
        }
    }
    // Text of every kind is dark enough to be read on its ground; 0 is black, 255 is white.
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText,
                            QPalette::PlaceholderText}) {
        EXPECT_LT(inForce.color(role).lightness(), 100) << role;
    }
    for (const auto role : {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::ToolTipBase}) {
        EXPECT_GT(inForce.color(role).lightness(), 200) << role;
    }
}

TEST(StartupTest, NumbersHaveOneNotationWhateverTheUsersLanguage) {
    auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    prepareApplication(*application);
    QDoubleSpinBox box;
    box.setMaximum(1e6);
    box.setValue(102036.25);
    EXPECT_EQ(box.text(), "102036.25");
    EXPECT_EQ(QwtScaleDraw().label(0.12).text(), "0.12");
}

} // namespace
} // namespace Tessaly
