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

TEST_F(HtmlItemDelegateTest, TheNameIsShortenedAndTheDetailsStay) {
    list.clear();
    list.addItem("<b>" + QString(60, 'n') + "end</b> (0.04 &lt; 2400 events)");
    QStyleOptionViewItem option;
    option.font = list.font();
    const QModelIndex index = list.model()->index(0, 0);
    const int whole = delegate.sizeHint(option, index).width();
    EXPECT_FALSE(delegate.shownText(option, index, whole).contains(QChar(0x2026)));
    const QString cut = delegate.shownText(option, index, whole - 40);
    EXPECT_TRUE(cut.startsWith("nnn") && cut.contains(QChar(0x2026)) && cut.endsWith("end (0.04 < 2400 events)"))
        << qPrintable(cut);
    // Where hardly anything of the name would be left, the narrow texts come in: the first that fits.
    list.item(0)->setData(HtmlItemDelegate::NarrowTextsRole,
                          QStringList{"<b>" + QString(60, 'n') + "end</b><br>0.04, and a lot more, 2400 events",
                                      "<b>" + QString(60, 'n') + "end</b><br>2400 events"});
    const QFontMetrics metrics(list.font());
    const QString middle =
        delegate.shownText(option, index, metrics.horizontalAdvance("0.04, and a lot more, 2400 events") + 20);
    EXPECT_TRUE(middle.startsWith("nn") && middle.endsWith("\n0.04, and a lot more, 2400 events"))
        << qPrintable(middle);
    const QString narrow = delegate.shownText(option, index, metrics.horizontalAdvance("2400 events") + 20);
    EXPECT_TRUE(narrow.startsWith("n") && narrow.endsWith("\n2400 events")) << qPrintable(narrow);
    // A view that doesn't scroll sideways makes its rows as high as that.
    const int oneLine = list.sizeHintForRow(0);
    list.setItemDelegate(&delegate);
    list.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list.resize(100, 200);
    list.show();
    EXPECT_GT(list.sizeHintForRow(0), oneLine * 3 / 2);
    EXPECT_EQ(list.visualItemRect(list.item(0)).width(), list.viewport()->width());
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
