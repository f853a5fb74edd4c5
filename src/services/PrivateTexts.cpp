#include "services/PrivateTexts.h"

#include <QDebug>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace Tessaly {

namespace {

/// An absolute path that nobody has told of, at the start of a text: in quotes up to the closing one; else to the last
/// known ending, or the word behind the last separator of the line.
const QRegularExpression& strangePath() {
    static const QRegularExpression pattern = [] {
        const QString start = QStringLiteral(R"((?:file:/|(?:~|\.\.?)?/|\\\\|[A-Za-z]:[\\/])(?=\S))");
        const QStringList ways = {
            QStringLiteral(R"((?<=")%1(?:[^"\\\n]|\\.)*(?="))"),
            QStringLiteral(R"((?<=')%1[^\n]*(?='))"),
            QStringLiteral(R"(%1[^\n]*\.(?:vqd|tsyfg|tsy|tsv|csv|avi|png|svg|pdf|txt|log|h5|hdf5|json|tmp)\b)"),
            QStringLiteral(R"(%1[^\n]*[/\\][^\s"']*)"),
            QStringLiteral(R"(%1[^\s"']*)"),
        };
        return QRegularExpression(ways.join(u'|').arg(start), QRegularExpression::CaseInsensitiveOption);
    }();
    return pattern;
}

bool isWordPart(QChar character) {
    return character.isLetterOrNumber();
}

/// A text as the debug stream writes it, without its quotes.
QString escaped(const QString& text) {
    QString written;
    QDebug(&written).nospace() << text;
    return written.mid(1, written.size() - 2);
}

/// Whether a path may begin here: not inside of a word, of another path or of a web address.
bool mayStartPath(const QString& text, qsizetype place) {
    const QChar character = text[place];
    if (place > 0) {
        const QChar before = text[place - 1];
        const bool inAddress = before == u':' && QStringView(text).sliced(place).startsWith(u"//");
        if (isWordPart(before) || inAddress || QStringView(u"~/\\<").contains(before)) {
            return false;
        }
    }
    return QStringView(u"/~\\.").contains(character) || (character < u'\x80' && character.isLetter());
}

} // namespace

void PrivateTexts::addPath(const QString& path) {
    add(path, true);
    add(QFileInfo(path).fileName(), true);
}

void PrivateTexts::addName(const QString& name) {
    add(name, false);
    add(name.simplified(), false);
}

void PrivateTexts::add(const QString& text, bool isPath) {
    if (text.trimmed().isEmpty() || added_.contains(text)) {
        return;
    }
    added_.insert(text);
    const QString other = escaped(text);
    for (const QString& form : other == text ? QStringList{text} : QStringList{text, other}) {
        QList<Known>& list = known_[form.front()];
        const auto place = std::find_if(list.cbegin(), list.cend(),
                                        [&](const Known& known) { return known.text.size() < form.size(); });
        list.insert(place, {form, isPath});
    }
}

const PrivateTexts::Known* PrivateTexts::knownAt(const QString& text, qsizetype place) const {
    const auto list = known_.constFind(text[place]);
    if (list == known_.cend()) {
        return nullptr;
    }
    const bool insideWord = place > 0 && isWordPart(text[place - 1]);
    for (const Known& known : *list) {
        const qsizetype end = place + known.text.size();
        const QChar after = end < text.size() ? text[end] : QChar(u'\n');
        // A letter more would be another name, and a separator a file below the folder: all of that has to go.
        const bool ends = !isWordPart(after) && !(known.isPath && QStringView(u"/\\_-").contains(after));
        const bool starts = !insideWord || !isWordPart(known.text.front());
        if (starts && ends && QStringView(text).sliced(place).startsWith(known.text)) {
            return &known;
        }
    }
    return nullptr;
}

QString PrivateTexts::hidden(const QString& text) const {
    QString result;
    result.reserve(text.size());
    for (qsizetype place = 0; place < text.size();) {
        if (const Known* known = knownAt(text, place)) {
            result += known->isPath ? QStringLiteral("<path>") : QStringLiteral("<name>");
            place += known->text.size();
            continue;
        }
        if (mayStartPath(text, place)) {
            const auto match = strangePath().match(text, place, QRegularExpression::NormalMatch,
                                                   QRegularExpression::AnchorAtOffsetMatchOption);
            if (match.hasMatch()) {
                result += QStringLiteral("<path>");
                place = match.capturedEnd();
                continue;
            }
        }
        result += text[place++];
    }
    return result;
}

} // namespace Tessaly
