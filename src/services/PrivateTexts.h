#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

namespace Tessaly {

/// Takes out of log lines and messages what a report mustn't carry: paths and the names of samples and datasets. What a
/// run has come to know stays known, also after a dataset was renamed or removed.
class PrivateTexts {
public:
    /// A file or folder; its name alone is hidden, too.
    void addPath(const QString& path);
    /// A name of a sample or dataset; hidden where it stands as words of its own.
    void addName(const QString& name);

    /// A text with the known paths and names replaced by "<path>" and "<name>", the longest first, and with whatever
    /// else looks like an absolute path replaced as well. Of a path that isn't known nobody can tell where it ends if
    /// it holds blanks: then rather too much of the line goes than too little. O(length of the text) for ordinary
    /// names.
    QString hidden(const QString& text) const;

private:
    struct Known {
        QString text;
        bool isPath;
    };
    void add(const QString& text, bool isPath);
    const Known* knownAt(const QString& text, qsizetype place) const;

    QSet<QString> added_;
    QHash<QChar, QList<Known>> known_; ///< by the first character, the longest first
};

} // namespace Tessaly
