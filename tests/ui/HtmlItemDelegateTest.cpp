#include "widgets/HtmlItemDelegate.h"

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

TEST_F(HtmlItemDelegateTest, TextStaysInsideTheMargins) {
    list.clear();
    list.addItem(QString(100, 'M'));
    QImage image(200, 40, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.font = list.font();
    option.rect = QRect(20, 5, 100, 25);
    option.state = QStyle::State_Enabled;
    delegate.paint(&painter, option, list.model()->index(0, 0));
    int inked = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) != QColor(Qt::white)) {
                ++inked;
                EXPECT_TRUE(QRect(24, 5, 92, 25).contains(x, y)) << x << ' ' << y;
            }
        }
    }
    EXPECT_GT(inked, 100);
}

} // namespace
} // namespace Tessaly
