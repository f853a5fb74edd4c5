#pragma once

#include <QMainWindow>
#include <QStringList>
#include <QTextBrowser>

class QHelpEngine;
class QLineEdit;
class QSplitter;
class QTabWidget;

namespace Tessaly {

/// Shows pages of a compiled help file beside ordinary ones.
class HelpBrowser : public QTextBrowser {
    Q_OBJECT

public:
    explicit HelpBrowser(QHelpEngine* engine, QWidget* parent = nullptr);

    /// The data behind an address: of the scheme "qthelp" from the engine, empty if it has none; else as a text browser
    /// does.
    QVariant loadResource(int type, const QUrl& url) override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    /// Pictures that are wider than the page are shown in its width.
    void fitPictures();

    QHelpEngine* engine_; ///< not owned
    int fittedWidth_ = 0; ///< of the pictures now, pixels
};

/// The manual: contents, index and full-text search beside the pages. Deletes nothing but its own collection file,
/// which it makes anew in the cache folder, so that a stale one is never read. A help file that can't be registered
/// leaves empty tabs and an empty page. User interface thread; the search index is made in the background.
class HelpWindow : public QMainWindow {
    Q_OBJECT

public:
    /// @param helpFile  compiled help file
    explicit HelpWindow(const QString& helpFile, QWidget* parent = nullptr);
    ~HelpWindow() override;

    /// Shows a page by its file name, such as "filters.html" or "filters.html#polygons".
    void showPage(const QString& page);

private:
    QWidget* contentsTab();
    QWidget* indexTab();
    QWidget* searchTab();
    void buildTabs();

    QHelpEngine* engine_;
    HelpBrowser* browser_;
    QSplitter* splitter_;
    QLineEdit* indexFilter_;
};

/// Where the compiled manual is looked for, the best place first: beside the program's folder, in it, and where the
/// build has put it.
QStringList manualCandidates();

} // namespace Tessaly
