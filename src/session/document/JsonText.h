#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <string>

namespace Tessaly {

/// Writes indented JSON piece by piece, laid out as QJsonDocument does it. Several times as fast as building a document
/// first. Numbers have the fewest digits that read as the same value; what isn't finite is null. The caller opens and
/// closes in order; keys are plain ASCII without quotes.
class JsonText {
public:
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }

    /// The name of what comes next, within an object.
    void key(QLatin1StringView name);

    void value(bool flag);
    void value(int number) { value(static_cast<qint64>(number)); }
    void value(qint64 number);
    void value(double number);
    void value(const QString& text);
    void value(QLatin1StringView text) { value(QString(text)); }
    void value(const std::string& utf8);
    void value(const QJsonValue& any);

    template <typename Value>
    void member(QLatin1StringView name, const Value& content) {
        key(name);
        value(content);
    }

    /// The text, ended by a line break.
    QByteArray take();

private:
    void begin(char bracket);
    void end(char bracket);
    /// What stands before a value or a key: a comma, a line break, and blanks.
    void startItem();
    void quote(const char* utf8, qsizetype size);

    QByteArray text_;
    int depth_ = 0;
    bool first_ = true;     ///< nothing stands in the innermost bracket yet
    bool afterKey_ = false; ///< the value goes on the key's line
};

} // namespace Tessaly
