#include "calc/emodulus/Lut.h"

#include "calc/emodulus/EModulus.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QString>
#include <QStringView>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

void applyMetadata(QString text, EModulusLut& lut) {
    static const QRegularExpression commentMark(QStringLiteral("^#\\s*"), QRegularExpression::MultilineOption);
    text.remove(commentMark);
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject()) {
        return;
    }
    const QJsonObject object = document.object();
    const auto take = [&object](const char* key, double& target) {
        const QJsonValue value = object.value(QLatin1String(key));
        if (value.isDouble()) {
            target = value.toDouble();
        }
    };
    take("channel_width", lut.channelWidth);
    take("flow_rate", lut.flowRate);
    take("fluid_viscosity", lut.viscosity);
}

bool isWhiteSpace(QChar c) {
    return c == QLatin1Char(' ') || (c >= QLatin1Char('\t') && c <= QLatin1Char('\r'));
}

void appendRow(QStringView line, EModulusLut& lut) {
    std::array<double, 3> row{};
    const QChar* place = line.begin();
    for (double& value : row) {
        place = std::find_if_not(place, line.end(), isWhiteSpace);
        const QChar* end = std::find_if(place, line.end(), isWhiteSpace);
        bool ok = false;
        value = QStringView(place, end).toDouble(&ok);
        if (!ok) {
            return;
        }
        place = end;
    }
    // "nan" and "inf" convert, but are no node of a mesh. A node may lack its modulus.
    const auto& [area, deform, modulus] = row;
    if (!std::isfinite(area) || !std::isfinite(deform) || std::isinf(modulus)) {
        return;
    }
    lut.area.push_back(area);
    lut.deform.push_back(deform);
    lut.emodulus.push_back(modulus);
}

} // namespace

std::string lutFileName(int lutId) {
    return lutId == 0 ? "LUT_LE_2D_FEM.txt" : std::string();
}

std::string findLutFile(const std::string& directory, const std::string& fileName) {
    if (fileName.empty()) {
        return {};
    }
    for (const char* suffix : {"/data/", "/../Resources/data/", "/../data/", "/../../data/", "/../../../data/"}) {
        std::string path = directory;
        path += suffix;
        path += fileName;
        if (QFileInfo::exists(QString::fromStdString(path))) {
            return path;
        }
    }
    return {};
}

std::optional<EModulusLut> readLutFile(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return std::nullopt;
    }

    EModulusLut lut;
    QTextStream stream(&file);
    QString line;
    QString metadata;
    bool inMetadata = false;
    bool headerSeen = false;
    while (stream.readLineInto(&line)) {
        if (line.contains(QLatin1String("BEGIN METADATA"))) {
            inMetadata = true;
            metadata.clear();
        } else if (line.contains(QLatin1String("END METADATA"))) {
            inMetadata = false;
            applyMetadata(metadata, lut);
        } else if (inMetadata) {
            metadata += line.startsWith(QLatin1Char('#')) ? line.mid(1) : line;
            metadata += QLatin1Char('\n');
        } else if (line.startsWith(QLatin1Char('#')) || line.trimmed().isEmpty()) {
            continue;
        } else if (!headerSeen && (line.contains(QLatin1String("area")) || line.contains(QLatin1String("deform")))) {
            headerSeen = true;
        } else {
            appendRow(line, lut);
        }
    }
    return lut;
}

} // namespace Tessaly
