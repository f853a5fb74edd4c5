#include "app/SafeApplication.h"

#include "io/Hdf5Library.h"

#include <QDebug>

#include <exception>

namespace Tessaly {

SafeApplication::SafeApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool SafeApplication::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const FileError& error) {
        const QString text = QString::fromUtf8(error.what());
        qCritical().noquote() << "Unhandled HDF5 exception:" << text;
        emit unhandledException(tr("File / Data Error"), text);
    } catch (const std::exception& error) {
        const QString text = QString::fromUtf8(error.what());
        qCritical().noquote() << "Unhandled exception:" << text;
        emit unhandledException(tr("Unexpected Error"), text);
    } catch (...) {
        qCritical().noquote() << "Unhandled non-standard exception";
        emit unhandledException(tr("Unexpected Error"), tr("An unknown error occurred."));
    }
    return false;
}

} // namespace Tessaly
