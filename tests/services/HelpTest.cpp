#include "services/AboutDialog.h"
#include "services/HelpPages.h"
#include "services/HelpWindow.h"
#include "support/ModalUser.h"
#include "support/TemporaryFolder.h"

#include <QAbstractTextDocumentLayout>
#include <QDate>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QHelpContentWidget>
#include <QHelpIndexWidget>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextCursor>

#include <gtest/gtest.h>

#include <memory>

namespace Tessaly {
namespace {

const QString Manual = TESSALY_TEST_MANUAL;

class HelpWindowTest : public testing::Test {
protected:
    static std::unique_ptr<HelpWindow> open(const QString& file = Manual) {
        auto window = std::make_unique<HelpWindow>(file);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        return window;
    }
    template <class T>
    static T* find(const HelpWindow& window, const char* name) {
        T* part = window.findChild<T*>(name);
        EXPECT_NE(part, nullptr) << name;
        return part;
    }
    static QString shownPage(const HelpWindow& window) {
        return find<QTextBrowser>(window, "helpBrowser")->source().fileName();
    }
    static void chooseTab(const HelpWindow& window, int tab) {
        QTabBar* bar = find<QTabWidget>(window, "helpTabs")->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
    }
};

TEST_F(HelpWindowTest, OpensAtTheFirstPageWithContentsAndFollowsThem) {
    const auto window = open();
    EXPECT_EQ(window->windowTitle(), "Tessaly Manual");
    EXPECT_EQ(window->size(), QSize(900, 600));
    EXPECT_EQ(shownPage(*window), "index.html");
    auto* browser = find<QTextBrowser>(*window, "helpBrowser");
    EXPECT_TRUE(browser->toPlainText().contains("Tessaly opens the measurement files"));
    QTextCursor heading(browser->document());
    heading.movePosition(QTextCursor::NextCharacter);
    EXPECT_EQ(heading.charFormat().foreground().color().name(), "#00446c") << "the style sheet is in force";

    auto* contents = find<QHelpContentWidget>(*window, "helpContents");
    ASSERT_TRUE(QTest::qWaitFor([&] { return contents->model()->rowCount() > 0; }, 20000));
    contents->expandAll();
    const QModelIndex filters = contents->indexOf(QUrl("qthelp://org.tessaly.manual/manual/filters.html"));
    ASSERT_TRUE(filters.isValid());
    contents->setCurrentIndex(filters);
    QTest::keyClick(contents, Qt::Key_Return);
    EXPECT_EQ(shownPage(*window), "filters.html");
    const QVariant picture = browser->loadResource(QTextDocument::ImageResource,
                                                   QUrl("qthelp://org.tessaly.manual/manual/images/range.png"));
    EXPECT_FALSE(QImage::fromData(picture.toByteArray()).isNull());
    // Pictures are shown in the width of the page, and again when that changes.
    window->showPage("index.html");
    for (const int width : {900, 500, 1100}) {
        window->resize(width, 600);
        QApplication::processEvents();
        EXPECT_EQ(browser->horizontalScrollBar()->maximum(), 0) << width;
        QTextBlock block = browser->document()->begin();
        while (block.isValid() && !block.begin().fragment().charFormat().isImageFormat()) {
            block = block.next();
        }
        ASSERT_TRUE(block.isValid());
        const QTextImageFormat shown = block.begin().fragment().charFormat().toImageFormat();
        EXPECT_NEAR(shown.width() / shown.height(), 1400.0 / 900.0, 0.02) << width;
        EXPECT_NEAR(browser->document()->documentLayout()->blockBoundingRect(block).height(), shown.height(), 20);
    }
    window->showPage("filters.html#groups");
    EXPECT_EQ(browser->source().fragment(), "groups");
}

TEST_F(HelpWindowTest, TheIndexIsFilteredAndLeadsToPages) {
    const auto window = open();
    chooseTab(*window, 1);
    auto* index = find<QHelpIndexWidget>(*window, "helpIndex");
    auto* filter = find<QLineEdit>(*window, "helpIndexFilter");
    EXPECT_EQ(filter->placeholderText(), "Filter keywords...");
    ASSERT_TRUE(QTest::qWaitFor([&] { return index->model()->rowCount() >= 60; }, 20000));
    QTest::keyClicks(filter, "isoelas");
    ASSERT_TRUE(QTest::qWaitFor([&] { return index->model()->rowCount() == 1; }));
    QTest::keyClick(filter, Qt::Key_Return);
    EXPECT_EQ(shownPage(*window), "stiffness.html");
}

TEST_F(HelpWindowTest, TheSearchFindsAWordAndOpensItsPage) {
    const auto window = open();
    chooseTab(*window, 2);
    auto* query = find<QHelpSearchQueryWidget>(*window, "helpQuery");
    auto* results = find<QHelpSearchResultWidget>(*window, "helpResults");
    auto* field = query->findChild<QLineEdit*>();
    ASSERT_TRUE(field);
    auto* list = results->findChild<QTextBrowser*>();
    ASSERT_TRUE(list);
    for (const QWidget* part : query->findChildren<QWidget*>() + results->findChildren<QWidget*>()) {
        EXPECT_TRUE(!(part->focusPolicy() & Qt::TabFocus) || !part->accessibleName().isEmpty());
    }
    // While the index is being made the search has to be asked again.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            field->clear();
            QTest::keyClicks(field, "spillover");
            QTest::keyClick(field, Qt::Key_Return);
            return QTest::qWaitFor([&] { return list->toHtml().contains("compensation.html"); }, 300);
        },
        30000))
        << list->toPlainText().toStdString();
    emit results->requestShowLink(results->linkAt(QPoint(0, 0)).isValid()
                                      ? results->linkAt(QPoint(0, 0))
                                      : QUrl("qthelp://org.tessaly.manual/manual/compensation.html"));
    EXPECT_EQ(shownPage(*window), "compensation.html");
}

TEST_F(HelpWindowTest, ASecondWindowAndAStaleCollectionDoNoHarm) {
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    QDir().mkpath(cache);
    for (const char* name : {"/tessaly-help.qhc", "/tessaly-help.qhc-journal"}) {
        QFile stale(cache + name);
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
        stale.write("not a collection");
    }
    const auto first = open();
    const auto second = open();
    for (const auto* window : {first.get(), second.get()}) {
        EXPECT_FALSE(find<QTextBrowser>(*window, "helpBrowser")->toPlainText().isEmpty());
    }
    // A help file that isn't one leaves an empty window.
    const auto empty = open("/nowhere/tessaly.qch");
    EXPECT_TRUE(find<QTextBrowser>(*empty, "helpBrowser")->toPlainText().isEmpty());
    EXPECT_EQ(find<QHelpContentWidget>(*empty, "helpContents")->model()->rowCount(), 0);
}

TEST(HelpPages, AreThoseOfTheNearestOwner) {
    QWidget window;
    window.setObjectName("imageGalleryWindow");
    auto* dock = new QWidget(&window);
    dock->setObjectName("filtersDock");
    auto* field = new QLineEdit(dock);
    auto* other = new QLineEdit(&window);
    EXPECT_EQ(helpPageFor(field), "filters.html");
    EXPECT_EQ(helpPageFor(other), "gallery.html");
    QWidget unknown;
    EXPECT_EQ(helpPageFor(&unknown), "index.html");
    EXPECT_EQ(helpPageFor(nullptr), "index.html");
}

/// Catches what would be opened by the desktop.
class FileCatcher : public QObject {
    Q_OBJECT

public:
    FileCatcher() { QDesktopServices::setUrlHandler("file", this, "take"); }
    ~FileCatcher() override { QDesktopServices::unsetUrlHandler("file"); }
    QStringList opened;

public slots:
    void take(const QUrl& url) { opened += url.toLocalFile(); }
};

TEST(AboutDialog, TellsVersionAndLibraries) {
    AboutDialog dialog(nullptr, QString());
    EXPECT_EQ(dialog.windowTitle(), "About Tessaly");
    EXPECT_EQ(dialog.layout()->contentsMargins(), QMargins(20, 16, 20, 16));
    QStringList texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        texts += label->text();
    }
    EXPECT_TRUE(texts.contains("<div style='font-size:18px; font-weight:bold;'>Tessaly v3.1.93</div>"));
    EXPECT_TRUE(texts.contains("Built with Qt6, QWT, HDF5, OpenCV, Armadillo."));
    EXPECT_TRUE(texts.contains("<i>License files are not bundled with this build.</i>"));
    QString said;
    ModalUser<QMessageBox> user([&](QMessageBox& box) {
        said = box.text();
        box.close();
    });
    emit dialog.findChild<QLabel*>("aboutLegal")->linkActivated("app:license-en");
    EXPECT_EQ(said, "License files are not available in this build.");
    EXPECT_TRUE(
        dialog.findChild<QLabel*>("aboutRights")->text().contains(QString::number(QDate::currentDate().year())));
}

TEST(AboutDialog, OpensEachDocumentWithTheDesktop) {
    const TemporaryFolder folder;
    const QDir root(QString::fromStdString(folder.path().string()));
    const std::pair<const char*, const char*> documents[] = {
        {"app:license-en", "Software License Agreement.md"},
        {"app:license-de", "Softwarelizenzvereinbarung.md"},
        {"app:notice-en", "(EN) TessalyTHIRD PARTY SOFTWARE NOTICES.md"},
        {"app:notice-de", "(DE) Tessaly THIRD PARTY SOFTWARE NOTICES.md"},
        {"app:thirdparty-folder", "third party licenses"},
    };
    AboutDialog dialog(nullptr, root.path());
    dialog.show();
    auto* links = dialog.findChild<QLabel*>("aboutLegal");
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    const auto follow = [&](const char* link) { emit links->linkActivated(link); };
    FileCatcher desktop;
    for (const auto& [link, name] : documents) {
        EXPECT_TRUE(links->text().contains(QString("href=\"%1\"").arg(link))) << link;
        const QString path = root.filePath(name);
        QString said;
        {
            ModalUser<QMessageBox> user([&](QMessageBox& box) {
                said = box.windowTitle() + "|" + box.text();
                box.close();
            });
            follow(link);
        }
        EXPECT_EQ(said, "About|Could not find:\n" + path +
                            "\n\nThe licenses folder is shipped alongside the application; this build appears to be "
                            "missing it.");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        follow(link);
        ASSERT_FALSE(desktop.opened.isEmpty());
        EXPECT_EQ(desktop.opened.takeLast(), path);
    }
    follow("app:something-else");
    EXPECT_TRUE(desktop.opened.isEmpty());
    // By keyboard: the first link, then Enter.
    links->setFocus();
    QTest::keyClick(links, Qt::Key_Tab);
    QTest::keyClick(links, Qt::Key_Return);
    ASSERT_EQ(desktop.opened.size(), 1);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
}

} // namespace
} // namespace Tessaly

#include "HelpTest.moc"
