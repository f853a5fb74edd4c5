#include "services/HelpPages.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QWidget>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

/// The pages as they are compiled: every heading has an id.
const QDir Source(TESSALY_TEST_MANUAL_PAGES);

QString contentsOf(const QString& name) {
    QFile file(Source.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return QString::fromUtf8(file.readAll());
}

QStringList matches(const QString& text, const char* pattern) {
    QStringList found;
    for (const auto& match : QRegularExpression(pattern).globalMatch(text)) {
        found += match.captured(1);
    }
    return found;
}

/// What is wrong with a reference to a page, with or without a place on it; empty if nothing is.
QString faultOf(const QString& reference) {
    const QStringList parts = reference.split('#');
    if (!QFile::exists(Source.filePath(parts[0]))) {
        return "there is no file " + parts[0];
    }
    if (parts.size() > 1 && matches(contentsOf(parts[0]), "\\sid=\"([^\"]+)\"").count(parts[1]) != 1) {
        return "there is no place " + reference;
    }
    return {};
}

QStringList pages() {
    return Source.entryList({"*.html"}, QDir::Files);
}

TEST(Manual, LinksAndPicturesLeadSomewhereAndEveryPageIsReached) {
    QStringList reached = {"index.html"};
    for (qsizetype i = 0; i < reached.size(); ++i) {
        for (const QString& link : matches(contentsOf(reached[i]), "<a href=\"([^\"]+)\"")) {
            EXPECT_EQ(faultOf(link).toStdString(), "") << reached[i].toStdString();
            if (!reached.contains(link.section('#', 0, 0))) {
                reached += link.section('#', 0, 0);
            }
        }
    }
    QStringList pictures;
    for (const QString& page : pages()) {
        EXPECT_TRUE(reached.contains(page)) << page.toStdString();
        const QString text = contentsOf(page);
        QXmlStreamReader xml(QString(text)
                                 .remove("<!DOCTYPE html>")
                                 .remove(QRegularExpression("&(?!amp;|lt;|gt;|quot;)\\w+;"))
                                 .replace(QRegularExpression("<(meta|link|img|br)([^>]*)>"), "<\\1\\2/>"));
        while (!xml.atEnd()) {
            xml.readNext();
        }
        EXPECT_FALSE(xml.hasError()) << page.toStdString() << ":" << xml.lineNumber() << " "
                                     << xml.errorString().toStdString();
        for (const QString& picture : matches(text, "<img src=\"([^\"]+)\" alt=\"[^\"]{10,}\"")) {
            EXPECT_FALSE(QImage(Source.filePath(picture)).isNull()) << picture.toStdString();
            pictures += picture.mid(QString("images/").size());
        }
        EXPECT_EQ(text.count("<img "), matches(text, "(<img src=\"[^\"]+\" alt=\"[^\"]{10,}\")").size())
            << page.toStdString() << ": a picture needs a text";
    }
    for (const QString& picture : QDir(Source.filePath("images")).entryList(QDir::Files)) {
        EXPECT_TRUE(pictures.contains(picture)) << picture.toStdString() << " is shown nowhere";
    }
}

TEST(Manual, ContentsAndIndexNameEveryPageAndNothingElse) {
    const QString project = contentsOf("tessaly.qhp");
    for (const QString& reference : matches(project, "ref=\"([^\"]+)\"")) {
        EXPECT_EQ(faultOf(reference).toStdString(), "");
    }
    const QStringList sections = matches(project, "<section title=\"[^\"]+\" ref=\"([^\"]+)\"");
    const QStringList files = matches(project, "<file>([^<]+)</file>");
    for (const QString& page : pages()) {
        EXPECT_EQ(sections.count(page), 1) << page.toStdString();
        EXPECT_TRUE(files.contains(page)) << page.toStdString();
        for (const QString& place : matches(contentsOf(page), "<h2 id=\"([^\"]*)\">")) {
            EXPECT_EQ(sections.count(page + "#" + place), 1) << page.toStdString() << " " << place.toStdString();
        }
    }
    EXPECT_EQ(sections.first(), "index.html");
    QStringList keywords = matches(project, "<keyword name=\"([^\"]+)\"");
    EXPECT_GE(keywords.size(), 60);
    EXPECT_EQ(keywords.removeDuplicates(), 0);
}

TEST(Manual, HasTheWordsOfTheProgramsFailures) {
    const QString text = contentsOf("troubleshooting.html");
    for (const char* title : {"Failed to open", "Unsupported Data", "Invalid File", "Cannot Remove"}) {
        EXPECT_TRUE(text.contains(title)) << title;
    }
}

TEST(HelpPages, AllLeadToPlacesOfTheManual) {
    QWidget widget;
    EXPECT_GE(helpPageOwners().size(), 15);
    for (const QString& owner : helpPageOwners()) {
        widget.setObjectName(owner);
        EXPECT_EQ(faultOf(helpPageFor(&widget)).toStdString(), "") << owner.toStdString();
    }
}

} // namespace
} // namespace Tessaly
