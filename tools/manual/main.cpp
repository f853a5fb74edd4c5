// Opens the manual, searches it for a word and prints the pages that hold it, with the times that both took.

#include "services/HelpWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QTimer>

#include <cstdio>

namespace {

using namespace Tessaly;

constexpr int patience = 30000;   ///< milliseconds
constexpr int betweenTries = 100; ///< milliseconds; while the index is made there is nothing to be found

/// Searches again and again until a page is found. Ends the event loop with 0 then, with 1 if it takes too long.
void search(HelpWindow& window, const QString& word, QTimer& tries, const QElapsedTimer& clock) {
    auto* query = window.findChild<QHelpSearchQueryWidget*>();
    auto* results = window.findChild<QHelpSearchResultWidget*>();
    auto* list = results->findChild<QTextBrowser*>();
    QObject::connect(&tries, &QTimer::timeout, &tries, [=, &clock] {
        if (list->toHtml().contains(QLatin1String("qthelp://"))) {
            std::printf("found after %lld ms: %s\n", clock.elapsed(), qPrintable(list->toPlainText().trimmed()));
            QApplication::exit(0);
        } else if (clock.elapsed() > patience) {
            std::fprintf(stderr, "\"%s\" was not found\n", qPrintable(word));
            QApplication::exit(1);
        } else {
            query->findChild<QLineEdit*>()->setText(word);
            emit query->search();
        }
    });
    tries.start(betweenTries);
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: tessaly_find_in_manual MANUAL.qch WORD\n");
        return 2;
    }
    QStandardPaths::setTestModeEnabled(true);
    QElapsedTimer clock;
    clock.start();
    HelpWindow window(QString::fromLocal8Bit(argv[1]));
    window.show();
    QApplication::processEvents();
    const auto* browser = window.findChild<QTextBrowser*>(QStringLiteral("helpBrowser"));
    if (browser->document()->isEmpty()) {
        std::fprintf(stderr, "the manual is empty\n");
        return 1;
    }
    std::printf("opened after %lld ms\n", clock.elapsed());
    QTimer tries;
    search(window, QString::fromLocal8Bit(argv[2]), tries, clock);
    return application.exec();
}
