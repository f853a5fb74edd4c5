#include "widgets/ToolTips.h"

#include <QTextDocument>

namespace Tessaly {

QString plainToolTip(const QString& text) {
    if (!Qt::mightBeRichText(text)) {
        return text;
    }
    // The wrapper makes sure that the escaped text is taken for markup, too.
    return QLatin1String("<span>") + text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>")) +
           QLatin1String("</span>");
}

} // namespace Tessaly
