#pragma once

#include <QObject>

class QLineEdit;

namespace Tessaly {

class Session;

/// The field "Dataset Name": shows the active dataset's name and renames it.
class NameController : public QObject {
    Q_OBJECT

public:
    NameController(Session& session, QLineEdit& field, QObject* parent);

private:
    void showName();
    void onRenameFinished();

    Session& session_;
    QLineEdit& field_;
};

} // namespace Tessaly
