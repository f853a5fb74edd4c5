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
