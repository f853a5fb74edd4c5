#include "services/HelpWindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QImage>
#include <QLineEdit>
#include <QSplitter>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTextBlock>
#include <QTextCursor>
#include <QVBoxLayout>

#include <vector>

namespace Tessaly {

namespace {

constexpr QSize windowSize(900, 600);
constexpr int pageMargin = 45; ///< pixels, what the style sheet leaves free beside the text
constexpr char ManualRoot[] = "qthelp://org.tessaly.manual/manual/";

/// The path of a collection file that isn't there yet.
QString freshCollectionFile() {
    const QDir cache(QStandardPaths::writableLocation(QStandardPaths::CacheLocation));
    cache.mkpath(QStringLiteral("."));
    const QString file = cache.filePath(QStringLiteral("tessaly-help.qhc"));
    // One that another window still uses can stay behind; it is then opened again.
    QFile::remove(file);
    QFile::remove(file + QStringLiteral("-journal"));
    return file;
}

/// Places of the pictures of a page.
std::vector<int> picturesOf(const QTextDocument& page) {
    std::vector<int> found;
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            if (part.fragment().charFormat().isImageFormat()) {
                found.push_back(part.fragment().position());
            }
        }
    }
    return found;
}

/// Names what the toolkit leaves without a name inside of a composed control.
void nameParts(const QWidget& control) {
    for (QWidget* part : control.findChildren<QWidget*>()) {
        if (part->focusPolicy() & Qt::TabFocus && part->accessibleName().isEmpty()) {
            part->setAccessibleName(part->toolTip().isEmpty() ? control.accessibleName() : part->toolTip());
        }
    }
}

} // namespace

HelpBrowser::HelpBrowser(QHelpEngine* engine, QWidget* parent) : QTextBrowser(parent), engine_(engine) {
    connect(this, &QTextBrowser::sourceChanged, this, [this] {
        fittedWidth_ = 0;
        fitPictures();
    });
}

QVariant HelpBrowser::loadResource(int type, const QUrl& url) {
    if (url.scheme() == QLatin1String("qthelp")) {
        return engine_->fileData(url);
    }
    return QTextBrowser::loadResource(type, url);
}

void HelpBrowser::resizeEvent(QResizeEvent* event) {
    QTextBrowser::resizeEvent(event);
    fitPictures();
}

void HelpBrowser::fitPictures() {
    const int width = viewport()->width() - 2 * pageMargin;
    if (width == fittedWidth_ || width <= 0) {
        return;
    }
    fittedWidth_ = width;
    for (const int place : picturesOf(*document())) {
        QTextCursor cursor(document());
        cursor.setPosition(place);
        cursor.setPosition(place + 1, QTextCursor::KeepAnchor);
        QTextImageFormat format = cursor.charFormat().toImageFormat();
        const QUrl url = source().resolved(QUrl(format.name()));
        QImage picture = QImage::fromData(engine_->fileData(url));
        const QSize size = picture.width() > width ? picture.size().scaled(width, picture.height(), Qt::KeepAspectRatio)
                                                   : picture.size();
        // As many dots as the screen has for that room.
        const int dots = qRound(width * devicePixelRatioF());
        if (picture.width() > dots) {
            picture = picture.scaledToWidth(dots, Qt::SmoothTransformation);
        }
        document()->addResource(QTextDocument::ImageResource, url, picture);
        format.setWidth(size.width());
        format.setHeight(size.height());
        cursor.setCharFormat(format);
    }
}

HelpWindow::HelpWindow(const QString& helpFile, QWidget* parent)
    : QMainWindow(parent),
      engine_(new QHelpEngine(freshCollectionFile(), this)),
      browser_(new HelpBrowser(engine_)),
      splitter_(new QSplitter(Qt::Horizontal)),
      indexFilter_(new QLineEdit) {
    setObjectName(QStringLiteral("helpWindow"));
    setWindowTitle(tr("Tessaly Manual"));
    resize(windowSize);
    engine_->setReadOnly(false);
    engine_->setupData();
    engine_->registerDocumentation(helpFile);
    browser_->setObjectName(QStringLiteral("helpBrowser"));
    browser_->setAccessibleName(tr("Page of the manual"));
    buildTabs();
    engine_->searchEngine()->reindexDocumentation();
    showPage(QStringLiteral("index.html"));
}

HelpWindow::~HelpWindow() = default;

void HelpWindow::buildTabs() {
    auto* tabs = new QTabWidget;
    tabs->setObjectName(QStringLiteral("helpTabs"));
    tabs->setAccessibleName(tr("Ways into the manual"));
    tabs->addTab(contentsTab(), tr("Contents"));
    tabs->addTab(indexTab(), tr("Index"));
    tabs->addTab(searchTab(), tr("Search"));
    splitter_->addWidget(tabs);
    splitter_->addWidget(browser_);
    splitter_->setStretchFactor(0, 0);
    splitter_->setStretchFactor(1, 1);
    splitter_->setSizes({250, 650});
    setCentralWidget(splitter_);
}

QWidget* HelpWindow::contentsTab() {
    QHelpContentWidget* contents = engine_->contentWidget();
    contents->setObjectName(QStringLiteral("helpContents"));
    contents->setAccessibleName(tr("Contents of the manual"));
    connect(contents, &QHelpContentWidget::linkActivated, browser_,
            [this](const QUrl& url) { browser_->setSource(url); });
    // The chapters are seen at once; what is in them opens on demand.
    connect(engine_->contentModel(), &QHelpContentModel::contentsCreated, contents,
            [contents] { contents->expandToDepth(0); });
    return contents;
}

QWidget* HelpWindow::indexTab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    QHelpIndexWidget* index = engine_->indexWidget();
    index->setObjectName(QStringLiteral("helpIndex"));
    index->setAccessibleName(tr("Keywords of the manual"));
    indexFilter_->setObjectName(QStringLiteral("helpIndexFilter"));
    indexFilter_->setAccessibleName(tr("Filter keywords"));
    indexFilter_->setPlaceholderText(tr("Filter keywords..."));
    layout->addWidget(indexFilter_);
    layout->addWidget(index);
    connect(indexFilter_, &QLineEdit::textChanged, index,
            [index](const QString& text) { index->filterIndices(text, QString()); });
    // Enter in the field takes the keyword that the filter has brought to the fore.
    connect(indexFilter_, &QLineEdit::returnPressed, index, &QHelpIndexWidget::activateCurrentItem);
    connect(index, &QHelpIndexWidget::documentActivated, browser_,
            [this](const QHelpLink& link) { browser_->setSource(link.url); });
    // A keyword that several places explain: the first one comes first in the manual, too.
    connect(index, &QHelpIndexWidget::documentsActivated, browser_, [this](const QList<QHelpLink>& links) {
        if (!links.isEmpty()) {
            browser_->setSource(links.first().url);
        }
    });
    return page;
}

QWidget* HelpWindow::searchTab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    QHelpSearchEngine* search = engine_->searchEngine();
    QHelpSearchQueryWidget* query = search->queryWidget();
    QHelpSearchResultWidget* results = search->resultWidget();
    query->setObjectName(QStringLiteral("helpQuery"));
    query->setAccessibleName(tr("Words to search for in the manual"));
    nameParts(*query);
    results->setObjectName(QStringLiteral("helpResults"));
    results->setAccessibleName(tr("Pages found"));
    nameParts(*results);
    layout->addWidget(query);
    layout->addWidget(results, 1);
    connect(query, &QHelpSearchQueryWidget::search, search, [search, query] { search->search(query->searchInput()); });
    connect(results, &QHelpSearchResultWidget::requestShowLink, browser_,
            [this](const QUrl& url) { browser_->setSource(url); });
    return page;
}

void HelpWindow::showPage(const QString& page) {
    browser_->setSource(QUrl(QLatin1String(ManualRoot) + page));
}

QStringList manualCandidates() {
    const QString folder = QCoreApplication::applicationDirPath();
    return {folder + QStringLiteral("/../data/tessaly.qch"), folder + QStringLiteral("/data/tessaly.qch"),
            QStringLiteral(TESSALY_BUILT_MANUAL)};
}

} // namespace Tessaly
