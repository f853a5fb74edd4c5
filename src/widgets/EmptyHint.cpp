#include "widgets/EmptyHint.h"

#include <QAbstractItemView>
#include <QEvent>

namespace Tessaly {

EmptyHint::EmptyHint(const QString& sentence, QWidget* over) : QLabel(sentence, over) {
    setObjectName(QStringLiteral("emptyHint"));
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setMargin(8);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setStyleSheet(QStringLiteral("QLabel { color: #6b6f76; background: transparent; border: none; }"));
    over->installEventFilter(this);
    fillParent();
}

EmptyHint::EmptyHint(const QString& sentence, QAbstractItemView* view) : EmptyHint(sentence, view->viewport()) {
    const QAbstractItemModel* model = view->model();
    const auto follow = [this, model] { setVisible(model->rowCount() == 0); };
    connect(model, &QAbstractItemModel::rowsInserted, this, follow);
    connect(model, &QAbstractItemModel::rowsRemoved, this, follow);
    connect(model, &QAbstractItemModel::modelReset, this, follow);
    follow();
}

bool EmptyHint::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::Resize) {
        fillParent();
    }
    return QLabel::eventFilter(object, event);
}

void EmptyHint::fillParent() {
    setGeometry(parentWidget()->rect());
}

} // namespace Tessaly
