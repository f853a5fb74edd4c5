#include "app/Theme.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QIcon>
#include <QImage>
#include <QStyle>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(ThemeTest, PaletteHasItsColours) {
    struct Case {
        QPalette::ColorRole role;
        QColor color;
        QColor disabled;
    };
    const QColor text(35, 38, 46);
    const QColor grey(160, 164, 170);
    const QColor accent(0, 171, 173);
    const QColor white(255, 255, 255);
    const Case cases[] = {
        {QPalette::Window, {245, 246, 248}, {245, 246, 248}},
        {QPalette::WindowText, text, grey},
        {QPalette::Text, text, grey},
        {QPalette::ButtonText, text, grey},
        {QPalette::ToolTipText, text, text},
        {QPalette::Base, white, white},
        {QPalette::HighlightedText, white, white},
        {QPalette::ToolTipBase, white, white},
        {QPalette::Light, white, white},
        {QPalette::AlternateBase, {240, 242, 245}, {240, 242, 245}},
        {QPalette::Button, {238, 240, 243}, {238, 240, 243}},
        {QPalette::BrightText, {210, 60, 60}, {210, 60, 60}},
        {QPalette::Link, accent, accent},
        {QPalette::Highlight, accent, accent},
        {QPalette::Midlight, {235, 237, 240}, {235, 237, 240}},
        {QPalette::Mid, {200, 203, 208}, {200, 203, 208}},
        {QPalette::Dark, grey, grey},
        {QPalette::Shadow, {120, 124, 130}, {120, 124, 130}},
    };
    const QPalette palette = QApplication::palette();
    for (const Case& c : cases) {
        EXPECT_EQ(palette.color(QPalette::Active, c.role), c.color) << c.role;
        EXPECT_EQ(palette.color(QPalette::Inactive, c.role), c.color) << c.role;
        EXPECT_EQ(palette.color(QPalette::Disabled, c.role), c.disabled) << c.role;
    }
}

TEST(ThemeTest, EveryPictureOfTheSheetAndTheFrameIsThere) {
    EXPECT_EQ(QImage(":/Logo_Orvane_rgb_randlos.png").size(), QSize(1181, 265));
    EXPECT_FALSE(QApplication::windowIcon().isNull());
    // Each icon must come out of the SVG plug-in with something drawn.
    for (const char* name : {":/checkmark.svg", ":/arrow-up.svg", ":/arrow-down.svg"}) {
        const QImage icon = QIcon(name).pixmap(16, 16).toImage().convertToFormat(QImage::Format_ARGB32);
        int opaque = 0;
        for (int y = 0; y < icon.height(); ++y)
            for (int x = 0; x < icon.width(); ++x)
                opaque += qAlpha(icon.pixel(x, y)) > 200;
        EXPECT_GT(opaque, 8) << name;
    }
    EXPECT_TRUE(applicationStyleSheet().contains("url(:/checkmark.svg)"));
}

TEST(ThemeTest, TheSheetReachesTheWidgets) {
    QComboBox combo;
    combo.ensurePolished();
    EXPECT_GE(combo.sizeHint().height(), 20);
    combo.resize(120, combo.sizeHint().height());
    EXPECT_EQ(combo.grab().toImage().pixelColor(60, 0), QColor("#c8cbd0"));
    combo.setEnabled(false);
    EXPECT_EQ(combo.grab().toImage().pixelColor(100, combo.height() / 2), QColor("#f0f1f3"));
}

TEST(ThemeTest, IdentityIsThatOfTheProgram) {
    EXPECT_EQ(QCoreApplication::applicationName(), "Tessaly");
    EXPECT_EQ(QCoreApplication::organizationName(), "Tessaly");
    EXPECT_EQ(QCoreApplication::applicationVersion(), "3.1.93");
    EXPECT_TRUE(QCoreApplication::organizationDomain().isEmpty());
    EXPECT_FALSE(QApplication::windowIcon().pixmap(64).isNull());
}

} // namespace
} // namespace Tessaly
