#include "session/document/JsonText.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace Tessaly {

namespace {

constexpr int Indent = 4;

template <typename Number>
void appendNumber(QByteArray& text, Number number) {
    std::array<char, 32> digits;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), written.ptr - digits.data());
}

bool mustBeEscaped(char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

} // namespace

void JsonText::startItem() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (depth_ > 0) {
        if (!first_) {
            text_.append(",\n");
        }
        text_.append(Indent * depth_, ' ');
    }
    first_ = false;
}

void JsonText::begin(char bracket) {
    startItem();
    text_.append(bracket).append('\n');
    ++depth_;
    first_ = true;
}

void JsonText::end(char bracket) {
    if (!first_) {
        text_.append('\n');
    }
    --depth_;
    text_.append(Indent * depth_, ' ').append(bracket);
    first_ = false;
}

void JsonText::key(QLatin1StringView name) {
    startItem();
    text_.append('"').append(name.data(), name.size()).append("\": ");
    afterKey_ = true;
}

void JsonText::value(bool flag) {
    startItem();
    text_.append(flag ? "true" : "false");
}

void JsonText::value(qint64 number) {
    startItem();
    appendNumber(text_, number);
}

void JsonText::value(double number) {
    startItem();
    if (std::isfinite(number)) {
        appendNumber(text_, number);
    } else {
        text_.append("null");
    }
}

void JsonText::value(const QString& text) {
    startItem();
    const QByteArray utf8 = text.toUtf8();
    quote(utf8.data(), utf8.size());
}

void JsonText::value(const std::string& utf8) {
    if (std::ranges::any_of(utf8, [](char character) { return static_cast<unsigned char>(character) >= 0x80; })) {
        value(QString::fromStdString(utf8)); // which mends what is no UTF-8
        return;
    }
    startItem();
    quote(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

void JsonText::quote(const char* utf8, qsizetype size) {
    text_.append('"');
    if (std::none_of(utf8, utf8 + size, mustBeEscaped)) {
        text_.append(utf8, size);
    } else {
        for (qsizetype i = 0; i < size; ++i) {
            if (utf8[i] == '"' || utf8[i] == '\\') {
                text_.append('\\').append(utf8[i]);
            } else if (mustBeEscaped(utf8[i])) {
                text_.append("\\u00").append(QByteArray(1, utf8[i]).toHex());
            } else {
                text_.append(utf8[i]);
            }
        }
    }
    text_.append('"');
}

void JsonText::value(const QJsonValue& any) {
    switch (any.type()) {
    case QJsonValue::Bool:
        value(any.toBool());
        break;
    case QJsonValue::Double:
        value(any.toDouble());
        break;
    case QJsonValue::String:
        value(any.toString());
        break;
    case QJsonValue::Array: {
        beginArray();
        const QJsonArray array = any.toArray();
        for (const QJsonValue item : array) {
            value(item);
        }
        endArray();
        break;
    }
    case QJsonValue::Object: {
        beginObject();
        const QJsonObject object = any.toObject();
        for (auto member = object.begin(); member != object.end(); ++member) {
            startItem();
            const QByteArray name = member.key().toUtf8();
            quote(name.data(), name.size());
            text_.append(": ");
            afterKey_ = true;
            value(QJsonValue(member.value()));
        }
        endObject();
        break;
    }
    default:
        startItem();
        text_.append("null");
    }
}

QByteArray JsonText::take() {
    text_.append('\n');
    first_ = true;
    return std::exchange(text_, {});
}

} // namespace Tessaly
