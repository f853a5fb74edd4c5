#include "ui/plot/ColorMapSetting.h"

#include "session/Session.h"

#include <QCoreApplication>
#include <QSettings>

#include <array>

namespace Tessaly {

namespace {

constexpr char ColorMapKey[] = "settings/colorMapIndex";
constexpr std::array ColorMapNames = {"Viridis", "Jet", "Jet+", "Plasma", "Quorin", "Grayscale"};

} // namespace

ColorMapSetting::ColorMapSetting(Session& session) : session_(session) {
    show(QSettings().value(QLatin1String(ColorMapKey), 0).toInt());
}

QStringList ColorMapSetting::names() {
    QStringList result;
    for (const char* name : ColorMapNames) {
        result.append(QCoreApplication::translate("Tessaly::MainWindow", name));
    }
    return result;
}

void ColorMapSetting::choose(int index) {
    QSettings().setValue(QLatin1String(ColorMapKey), index);
    show(index);
}

void ColorMapSetting::show(int index) {
    index_ = index >= 0 && index < static_cast<int>(ColorMapNames.size()) ? index : 0;
    emit session_.notices().colorMapChanged(index_);
}

} // namespace Tessaly
