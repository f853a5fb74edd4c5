#include "ui/HtmlItemDelegate.h"

#include <QImage>
#include <QListWidget>
#include <QPainter>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

class HtmlItemDelegateTest : public testing::Test {
protected:
    QSize hint(const QString& html) {
        list.clear();
        list.addItem(html);
        QStyleOptionViewItem option;
        option.font = list.font();
        return delegate.sizeHint(option, list.model()->index(0, 0));
    }

    QImage paint(const QString& html, QStyle::State state, int width) {
        list.clear();
        list.addItem(html);
        QImage image(200, 40, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.font = list.font();
        option.rect = QRect(20, 5, width, 25);
        option.state = state;
        option.palette.setColor(QPalette::Active, QPalette::Highlight, QColor(0, 171, 173));
        option.palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::red);
        delegate.paint(&painter, option, list.model()->index(0, 0));
        return image;
    }

    QListWidget list;
    HtmlItemDelegate delegate;
};

TEST_F(HtmlItemDelegateTest, MarkupTakesNoRoomAndNothingWraps) {
    const QString text = QStringLiteral("a sample name that is rather long, with many words in it");
    const QSize plain = hint(text);
    EXPECT_LT(hint("<i></i>" + text).width() - plain.width(), 2);
    EXPECT_EQ(hint(text + text + text + text).height(), plain.height());
    EXPECT_GT(hint("a &lt; b").width(), hint("a b").width());
}

TEST_F(HtmlItemDelegateTest, SelectionFillsTheItemInTheActiveColour) {
    const QImage selected = paint("x", QStyle::State_Selected | QStyle::State_Enabled, 100);
    EXPECT_EQ(selected.pixelColor(20, 5), QColor(0, 171, 173));
    EXPECT_EQ(selected.pixelColor(119, 29), QColor(0, 171, 173));
    EXPECT_EQ(selected.pixelColor(19, 5), QColor(Qt::white));
    EXPECT_EQ(selected.pixelColor(120, 29), QColor(Qt::white));
    EXPECT_EQ(paint("x", QStyle::State_Enabled, 100).pixelColor(119, 29), QColor(Qt::white));
}

TEST_F(HtmlItemDelegateTest, TextStaysInsideTheMargins) {
    const QImage image = paint(QString(100, 'M'), QStyle::State_Enabled, 100);
    int inked = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) != QColor(Qt::white)) {
                ++inked;
                EXPECT_GE(x, 24);
                EXPECT_LT(x, 116);
                EXPECT_GE(y, 5);
                EXPECT_LT(y, 30);
            }
        }
    }
    EXPECT_GT(inked, 100);
}

} // namespace
} // namespace Tessaly
