#pragma once

#include <QObject>

class QLineEdit;

namespace Tessaly {

class Session;

/// The field "Dataset Name": shows the active dataset's name and renames it. Escape gives the old name back.
class NameController : public QObject {
    Q_OBJECT

public:
    NameController(Session& session, QLineEdit& field, QObject* parent);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void showName();
    void onRenameFinished();

    Session& session_;
    QLineEdit& field_;
};

} // namespace Tessaly
