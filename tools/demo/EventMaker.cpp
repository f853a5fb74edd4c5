#include "EventMaker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Tessaly {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double DebrisShare = 0.015;
constexpr double DoubletShare = 0.006;

EModulusParams paramsOf(const DemoRun& run) {
    EModulusParams params;
    params.temperature = run.temperature;
    params.channelWidth = EventMaker::ChannelWidth;
    params.flowRate = EventMaker::FlowRate;
    params.pixelSize = EventMaker::PixelSize;
    return params;
}

} // namespace

EventMaker::EventMaker(const DemoRun& run, EModulus& engine)
    : run_(run),
      map_(engine, paramsOf(run)),
      renderer_(Frame, ChannelWidth / PixelSize, !run.reservoir, run.seed ^ 0x5eedU),
      traces_(run.seed ^ 0x7aceU) {
    DemoRandom random(run.seed);
    double time = 0.0;
    times_.reserve(run.events);
    for (std::size_t i = 0; i < run.events; ++i) {
        time += -std::log(1.0 - random.uniform()) / 45.0;
        times_.push_back(time);
    }
}

CellTarget EventMaker::drawCell(const CellKind& kind, DemoRandom& random) const {
    constexpr int maxDraws = 100;
    for (int i = 0; i < maxDraws; ++i) {
        CellTarget target;
        target.area = random.logNormal(kind.area, kind.areaSpread);
        if (run_.reservoir) {
            target.deform = 0.006 + 0.002 * std::fabs(random.normal());
            return target;
        }
        target.modulus = random.logNormal(kind.modulus, kind.modulusSpread);
        // Cells beyond the table, or too close to a circle for its pixels to tell, are drawn anew.
        const auto deform = map_.deformOf(target.area, target.modulus);
        if (deform && *deform > 0.012) {
            target.deform = *deform;
            return target;
        }
    }
    return {kind.area, 0.05, 0.0};
}

EventMaker::Subject EventMaker::draw(DemoRandom& random) const {
    Subject subject;
    const double which = random.uniform();
    if (which < DebrisShare) {
        subject.target = {random.uniform(7.0, 26.0), random.uniform(0.015, 0.09), 0.0};
        return subject;
    }
    subject.doublet = which < DebrisShare + DoubletShare;
    const std::size_t kind = random.chance(run_.kinds[0].share) ? 1 : 2;
    subject.target = drawCell(run_.kinds[kind - 1], random);
    subject.kind = subject.doublet ? 0 : kind;
    return subject;
}

void EventMaker::setOutline(const MaskMeasures& m, EventScalars& s) const {
    const double pixelArea = PixelSize * PixelSize;
    s[Feature::AreaCvx] = m.areaHull;
    s[Feature::AreaMsd] = m.areaRaw;
    s[Feature::AreaRatio] = m.areaHull / m.areaRaw;
    s[Feature::AreaUm] = m.areaHull * pixelArea;
    s[Feature::AreaUmRaw] = m.areaRaw * pixelArea;
    s[Feature::Aspect] = m.width / m.height;
    s[Feature::Circ] = 2.0 * std::sqrt(std::numbers::pi * m.areaHull) / m.perimeterHull;
    s[Feature::Deform] = 1.0 - s[Feature::Circ];
    s[Feature::DeformRaw] = 1.0 - 2.0 * std::sqrt(std::numbers::pi * m.areaRaw) / m.perimeterRaw;
    s[Feature::EccentrPrnc] = std::sqrt(1.0 - 1.0 / (m.inertiaRatioPrincipal * m.inertiaRatioPrincipal));
    s[Feature::InertRatioCvx] = m.inertiaRatioHull;
    s[Feature::InertRatioRaw] = m.inertiaRatioRaw;
    s[Feature::InertRatioPrnc] = m.inertiaRatioPrincipal;
    s[Feature::PerRatio] = m.perimeterRaw / m.perimeterHull;
    s[Feature::PerUmRaw] = m.perimeterRaw * PixelSize;
    s[Feature::PosX] = m.x * PixelSize;
    s[Feature::PosY] = m.y * PixelSize;
    s[Feature::SizeX] = m.width * PixelSize;
    s[Feature::SizeY] = m.height * PixelSize;
    s[Feature::Volume] = m.volume * pixelArea * PixelSize;
    s[Feature::Userdef1] = m.deformOdd;
    s[Feature::Userdef2] = m.deformEven;
}

void EventMaker::makeImaged(const Subject& subject, double x, double y, DemoRandom& random, EventBatch& batch,
                            EventScalars& scalars) const {
    constexpr auto pixels = static_cast<std::size_t>(Frame.width) * Frame.height;
    std::vector<CellOutline> cells{fitOutline(subject.target, x, y, map_, random)};
    if (subject.doublet) {
        CellOutline second = cells.front();
        second.x += 0.55 * (second.front + second.rear);
        second.y += random.normal(0.0, 3.0);
        cells.push_back(second);
    }
    const std::size_t begin = batch.images.size();
    batch.images.resize(begin + pixels);
    batch.masks.resize(begin + pixels);
    std::uint8_t* image = batch.images.data() + begin;
    std::uint8_t* mask = batch.masks.data() + begin;
    for (const CellOutline& cell : cells) {
        paintMask(rasterise(cell), Frame.width, Frame.height, mask);
    }
    renderer_.render(cells, random.logNormal(subject.kind == 2 ? 1.15 : 0.95, 0.08), random, image);

    setOutline(measureMask(mask, Frame.width, Frame.height), scalars);
    const Brightness brightness = renderer_.measure(image, mask);
    scalars[Feature::BrightAvg] = brightness.average;
    scalars[Feature::BrightSd] = brightness.sd;
    scalars[Feature::BrightBcAvg] = brightness.correctedAverage;
    scalars[Feature::BrightBcSd] = brightness.correctedSd;
    scalars[Feature::BgMed] = brightness.backgroundMedian;
    scalars[Feature::BgOff] = brightness.backgroundOffset;
}

void EventMaker::describe(const Subject& subject, double x, double y, DemoRandom& random, EventScalars& scalars) const {
    // An ellipse of that area and deformation.
    const double area = subject.target.area / (PixelSize * PixelSize);
    const double elongation = std::sqrt(subject.target.deform * 16.0 / 3.0);
    const double radius = std::sqrt(area / std::numbers::pi);
    MaskMeasures m;
    m.areaHull = area;
    m.areaRaw = area / (subject.doublet ? random.uniform(1.06, 1.3) : 1.0 + std::fabs(random.normal(0.012, 0.006)));
    m.perimeterHull = 2.0 * std::sqrt(std::numbers::pi * area) / (1.0 - subject.target.deform);
    m.perimeterRaw = m.perimeterHull * (1.0 + std::fabs(random.normal(0.04, 0.01)));
    m.x = x;
    m.y = y;
    m.width = std::round(2.0 * radius * std::exp(0.5 * elongation)) + 1.0;
    m.height = std::round(2.0 * radius * std::exp(-0.5 * elongation)) + 1.0;
    m.inertiaRatioHull = std::exp(elongation) * random.logNormal(1.0, 0.01);
    m.inertiaRatioRaw = m.inertiaRatioHull * random.logNormal(1.0, 0.005);
    m.inertiaRatioPrincipal = std::max(m.inertiaRatioRaw, 1.0) * (1.0 + std::fabs(random.normal(0.0, 0.01)));
    m.volume = 4.0 / 3.0 * std::numbers::pi * radius * radius * radius * std::exp(-0.5 * elongation);
    m.deformOdd = 0.15 * subject.target.deform + std::fabs(random.normal(0.0, 0.001));
    m.deformEven = 0.85 * subject.target.deform;
    setOutline(m, scalars);
    scalars[Feature::BrightAvg] = random.normal(subject.kind == 2 ? 117.0 : 113.0, 2.0);
    scalars[Feature::BrightSd] = random.logNormal(subject.kind == 2 ? 15.0 : 12.0, 0.1);
    scalars[Feature::BrightBcAvg] = scalars[Feature::BrightAvg] - 118.0;
    scalars[Feature::BrightBcSd] = scalars[Feature::BrightSd] * 0.97;
    scalars[Feature::BgMed] = std::round(random.normal(118.0, 0.7));
    scalars[Feature::BgOff] = scalars[Feature::BgMed] - 118.0;
}

void EventMaker::setCommon(std::size_t event, const Subject& subject, double velocity, DemoRandom& random,
                           EventScalars& scalars) const {
    const double time = times_[event];
    scalars[Feature::Time] = time;
    scalars[Feature::Frame] = std::floor(time * FrameRate);
    scalars[Feature::Index] = static_cast<double>(event + 1);
    scalars[Feature::IndexOnline] = static_cast<double>(event + event / 9 + 1);
    scalars[Feature::FlowRate] = FlowRate * random.normal(1.0, 0.004);
    scalars[Feature::Temp] = run_.temperature + 0.12 * std::sin(time / 60.0) + random.normal(0.0, 0.01);
    scalars[Feature::TempAmb] = random.chance(0.004) ? NaN : run_.temperature - 0.8 + random.normal(0.0, 0.02);
    scalars[Feature::MlClass] = static_cast<double>(subject.kind);
    scalars[Feature::Userdef0] = velocity * 1000.0;
    scalars[Feature::Userdef9] = static_cast<double>(subject.kind);
    if (random.chance(0.01)) {
        scalars[Feature::BrightSd] = NaN;
    }
}

Emission EventMaker::emissionOf(const Subject& subject, double velocity, const EventScalars& scalars,
                                DemoRandom& random) const {
    Emission emission;
    const double centre = 0.5 * Frame.width * PixelSize;
    const double perSample = velocity * TraceMaker::SampleTime; // um
    emission.centre = static_cast<double>(TraceMaker::Samples / 2) + (scalars[Feature::PosX] - centre) / perSample +
                      random.normal(0.0, 0.4);
    emission.duration = scalars[Feature::SizeX] / perSample;
    for (std::size_t k = 0; k < emission.heights.size(); ++k) {
        const double background = random.normal(4.0, 6.0);
        const double light = subject.kind > 0 ? run_.kinds[subject.kind - 1].light[k] : 20.0;
        emission.heights[k] = background + (light > 0.0 ? random.logNormal(light, 0.35) : 0.0);
    }
    if (random.chance(0.04)) { // dead cells take up the third dye
        emission.heights[2] += random.logNormal(3000.0, 0.4);
    }
    const auto before = emission.heights;
    for (std::size_t to = 0; to < before.size(); ++to) {
        emission.heights[to] = 0.0;
        for (std::size_t from = 0; from < before.size(); ++from) {
            emission.heights[to] += Spillover[to][from] * before[from];
        }
    }
    return emission;
}

MadeEvents EventMaker::make(std::size_t first, std::size_t count) const {
    MadeEvents made;
    made.batch.first = first;
    made.batch.scalars.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        DemoRandom random(run_.seed, first + i);
        EventScalars& scalars = made.batch.scalars[i];
        const Subject subject = draw(random);
        const double x = random.uniform(75.0, 165.0);
        const double y = 0.5 * (Frame.height - 1) + random.normal(0.0, 1.2);
        if (run_.images) {
            makeImaged(subject, x, y, random, made.batch, scalars);
        } else {
            describe(subject, x, y, random, scalars);
        }
        const double velocity = random.normal(run_.reservoir ? 0.1 : 0.155, 0.004); // um/us
        setCommon(first + i, subject, velocity, random, scalars);
        const Emission emission = emissionOf(subject, velocity, scalars, random);
        if (run_.images) {
            traces_.add(emission, random, made.batch, scalars);
        } else {
            TraceMaker::describe(emission, scalars);
        }
        if (subject.kind > 0 && subject.target.modulus > 0.0) {
            made.moduli[subject.kind - 1].push_back(subject.target.modulus);
        }
    }
    return made;
}

} // namespace Tessaly
