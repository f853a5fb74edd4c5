#include "calc/fluorescence/FLRefinement.h"

#include "calc/fluorescence/FLChannels.h"
#include "calc/fluorescence/PeakSearch.h"
#include "core/VQDMetadata.h"
#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <hdf5.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {
namespace {

using Column = std::vector<double>;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

void expectSame(const Column& actual, const Column& expected, double tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isnan(expected[i])) {
            EXPECT_TRUE(std::isnan(actual[i])) << i << ": " << actual[i];
        } else {
            EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
        }
    }
}

/// The events of tests/support/calculation_reference.py: pulses that move through the trace with the cell, on waves,
/// with spikes.
struct Cells {
    static constexpr std::size_t Samples = 101;
    static constexpr std::size_t Events = 12;

    FLRefinementPlan plan;
    Column posX, sizeX;
    std::map<int, Column> heights, positions;
    std::map<int, std::vector<std::vector<float>>> traces;

    Cells() {
        plan.channels = {{1, 12.0, true}, {4, -7.5, true}};
        plan.events = Events;
        plan.traceLength = Samples;
        plan.sampleTime = 3.2;
        plan.channelCentre = 42.5;
        const auto wave = [](int k) { return std::sin(12.9898 * k); };
        for (int e = 0; e < static_cast<int>(Events); ++e) {
            const double middle = 30.0 + 3.7 * e;
            posX.push_back(42.5 + 0.15 * (middle - Samples / 2) * 3.2 + 0.4 * wave(e));
            sizeX.push_back(9.0 + wave(e + 100));
            for (const int c : {1, 4}) {
                const double height = 250.0 + 100.0 * e * (1 + c % 2);
                std::vector<float> trace;
                for (int s = 0; s < static_cast<int>(Samples); ++s) {
                    const double t = (s - middle) / 4.0;
                    const double value = height * std::exp(-0.5 * t * t) + 15.0 * wave(s + 37 * e + 11 * c);
                    trace.push_back(static_cast<float>(std::lround(value)));
                }
                const auto spike = static_cast<std::size_t>((29 * e + 13 * c) % 99);
                trace[spike] += 2000.0F;
                trace[spike + 1] += 1500.0F;
                traces[c].push_back(trace);
                heights[c].push_back(height);
                positions[c].push_back(std::round(middle + wave(e + c)) * 3.2);
            }
        }
    }

    FLRefinementColumns columns() const {
        return {{{heights.at(1), positions.at(1)}, {heights.at(4), positions.at(4)}}, posX, sizeX};
    }
    RawTraceSource source() const {
        return [this](int channel, std::size_t event, std::string&) { return traces.at(channel)[event]; };
    }
    std::map<std::string, Column> refined(const FLRefinementColumns& from) const {
        std::map<std::string, Column> result;
        for (const ComputedColumn& column : refineFluorescence(plan, from, source()).columns) {
            result[column.name] = column.values;
        }
        return result;
    }
};

// Values by NumPy and SciPy, see tests/support/calculation_reference.py.
TEST(FLRefinement, AgreesWithNumPy) {
    const Cells cells;
    const CellSpeed speed = estimateCellSpeed(cells.plan, cells.columns());
    EXPECT_NEAR(speed.speed, 0.149695796416875, 1e-12);
    EXPECT_NEAR(speed.spread, 0.00406632138573056, 1e-12);
    auto refined = cells.refined(cells.columns());
    EXPECT_EQ(refined.size(), 6U);
    expectSame(refined["fl1_max_rf"],
               {246.142853, 457.238098, 670.714294, 856.571411, 1041.42859, 1251.95239, 1468.23804, 1651.38098,
                1829.95239, 2053.61902, 2265.80957, 2440.23804},
               2e-3);
    expectSame(refined["fl1_pos_rf"], {96, 105.6, 118.4, 131.2, 144, 153.6, 166.4, 179.2, 192, 201.6, 214.4, 227.2},
               1e-9);
    expectSame(refined["fl1_width_rf"], {38.4, 35.2, 35.2, 35.2, 35.2, 35.2, 32, 32, 35.2, 35.2, 32, 35.2}, 1e-9);
    expectSame(refined["fl4_max_rf"],
               {240.166672, 325.119049, 443.5, 487.404755, 636.5, 720.404785, 843.738098, 907.690491, 1028.9762,
                1122.21423, 1244.73804, 1393.5},
               2e-3);
    expectSame(refined["fl4_pos_rf"], {96, 108.8, 118.4, 134.4, 144, 153.6, 166.4, 176, 192, 201.6, 214.4, 227.2},
               1e-9);
    expectSame(refined["fl4_width_rf"], {35.2, 35.2, 32, 35.2, 32, 35.2, 32, 32, 35.2, 35.2, 32, 35.2}, 1e-9);
}

TEST(FLRefinement, SpeedFromTheFarHalf) {
    FLRefinementPlan plan;
    plan.channels = {{1, 0.0, false}};
    plan.traceLength = 101;
    plan.sampleTime = 2.0; // the middle is at 100
    plan.channelCentre = 50.0;
    plan.params.flMaxThreshold = 400.0;
    struct Case {
        const char* what;
        Column heights, positions, posX;
        double speed, spread;
    };
    const Column high(4, 500.0);
    const Case cases[] = {
        {"the two farthest of four", high, {110, 120, 130, 140}, {51, 53, 59, 70}, 0.5, 1.4826 * 0.2},
        {"distance has no side", high, {110, 120, 70, 60}, {51, 53, 41, 30}, 0.5, 1.4826 * 0.2},
        {"equal distances: the first ones found", high, {110, 120, 90, 140}, {58, 58, 42, 58}, 0.8, 1.4826 * 0.4},
        {"one is half of one", {500}, {110}, {55}, 0.5, 0.0},
        {"at the threshold isn't above", {400, 500, NaN}, {110, 110, 110}, {90, 55, 90}, 0.5, 0.0},
        {"a peak in the middle has no speed", {500, 500}, {100, 110}, {90, 55}, 0.5, 0.0},
        {"values that are no numbers", high, {NaN, 110, 110, INFINITY}, {90, NaN, 55, 90}, 0.5, 0.0},
        {"shorter columns", high, {110, 110}, {55}, 0.5, 0.0},
        {"backwards counts as standing", high, {110, 120, 130, 140}, {49, 47, 41, 30}, 0.0, 1.4826 * 0.2},
        {"none above the threshold", {1, 2}, {110, 120}, {55, 60}, 0.0, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const FLRefinementColumns columns{{{c.heights, c.positions}}, c.posX, {}};
        const CellSpeed found = estimateCellSpeed(plan, columns);
        EXPECT_NEAR(found.speed, c.speed, 1e-12);
        EXPECT_NEAR(found.spread, c.spread, 1e-12);
        FLRefinementPlan other = plan;
        other.channelCentre = 0.0;
        EXPECT_EQ(estimateCellSpeed(other, columns).speed, 0.0);
        other = plan;
        other.traceLength = 0;
        EXPECT_EQ(estimateCellSpeed(other, columns).spread, 0.0);
        EXPECT_EQ(estimateCellSpeed(plan, {{{c.heights, c.positions}}, {}, {}}).spread, 0.0);
    }
}

TEST(FLRefinement, WindowsInWholeSamples) {
    struct Case {
        double low, high;
        std::size_t samples;
        int first, last; ///< -1: no window
    };
    const Case cases[] = {
        {2.9, 7.9, 20, 2, 7},          {-3, 4.2, 20, 0, 4},      {-9, -1, 20, -1, -1},
        {-9, -0.5, 20, 0, 0},          {15, 19, 20, 15, 19},     {15, 99, 20, 15, 19},
        {25, 30, 20, 19, 19},          {9, 5, 20, 5, 5},         {NaN, 5, 20, -1, -1},
        {5, NaN, 20, -1, -1},          {0, 5, 0, -1, -1},        {-INFINITY, INFINITY, 20, 0, 19},
        {INFINITY, INFINITY, 5, 4, 4}, {-1e300, 1e300, 5, 0, 4}, {19.5, 19.9, 20, 19, 19},
    };
    for (const Case& c : cases) {
        const auto window = sampleWindow(c.low, c.high, c.samples);
        ASSERT_EQ(window.has_value(), c.last >= 0) << c.low << " to " << c.high;
        if (window) {
            EXPECT_EQ(window->first, static_cast<std::size_t>(c.first)) << c.low << " to " << c.high;
            EXPECT_EQ(window->last, static_cast<std::size_t>(c.last)) << c.low << " to " << c.high;
        }
    }
}

TEST(FLRefinement, PeaksAndTheirWidths) {
    constexpr auto none = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        const char* what;
        std::vector<float> trace;
        SampleWindow window;
        double offset;
        bool found;
        double height;
        std::size_t sample, width;
    };
    const Case cases[] = {
        {"falls below half on both sides", {0, 1, 5, 10, 6, 4, 0}, {0, 6}, 0, true, 10, 3, 4}, // from 1 to 5
        {"exactly half is not below", {0, 4, 5, 10, 5, 4, 0}, {0, 6}, 0, true, 10, 3, 4},
        {"the first of equal peaks", {0, 9, 1, 9, 0}, {0, 4}, 0, true, 9, 1, 1},
        {"the left scan ends right of the start", {9, 9, 9, 10, 0}, {0, 4}, 0, true, 10, 3, 3},
        {"the start itself isn't looked at", {0, 9, 10, 0}, {0, 3}, 0, true, 10, 2, 2},
        {"a peak at the start", {10, 9, 8, 0}, {0, 3}, 0, true, 10, 0, 3},
        {"a peak next to the start", {0, 10, 0, 0}, {0, 3}, 0, true, 10, 1, 1},
        {"a peak at the end", {0, 0, 0, 10}, {0, 3}, 0, true, 10, 3, 1},
        {"the end is as far as it goes", {0, 0, 10, 9, 9, 9}, {0, 4}, 0, true, 10, 2, 3},
        {"only the window counts", {99, 1, 5, 2, 99}, {1, 3}, 0, true, 5, 2, 1},
        {"the offset moves the half", {0, 1, 5, 10, 6, 4, 0}, {0, 6}, 10, true, 20, 3, 5},
        {"a peak below the baseline", {-9, -8, -3, -8, -9}, {0, 4}, 0, true, -3, 2, 0},
        {"one sample", {7}, {0, 0}, 1, true, 8, 0, 0},
        {"values that are no numbers", {none, 1, none, 3, 1}, {0, 4}, 0, true, 3, 3, 3},
        {"nothing but those", {none, none}, {0, 1}, 0, false, 0, 0, 0},
        {"a window beyond the trace", {1, 2, 3}, {0, 3}, 0, false, 0, 0, 0},
        {"no trace", {}, {0, 0}, 0, false, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto peak = findPeak(c.trace, c.window, c.offset);
        ASSERT_EQ(peak.has_value(), c.found);
        if (peak) {
            EXPECT_EQ(peak->height, c.height);
            EXPECT_EQ(peak->sample, c.sample);
            EXPECT_EQ(peak->width, c.width);
        }
    }
}

TEST(FLRefinement, WithoutSpeedTheRecordedPositionIsTheMiddle) {
    const Cells cells;
    FLRefinementColumns columns = cells.columns();
    columns.sizeX = {};
    const auto refined = cells.refined(columns);
    for (std::size_t e = 0; e < Cells::Events; ++e) {
        const double centre = cells.positions.at(1)[e] / 3.2;
        const auto low = static_cast<std::size_t>(centre - 5.05);
        const auto high = static_cast<std::size_t>(centre + 5.05);
        const std::vector<float> trace = filteredTrace(cells.traces.at(1)[e], {});
        const auto highest = std::max_element(trace.begin() + static_cast<std::ptrdiff_t>(low),
                                              trace.begin() + static_cast<std::ptrdiff_t>(high) + 1);
        EXPECT_EQ(refined.at("fl1_max_rf")[e], static_cast<double>(*highest) + 12.0);
        EXPECT_NEAR(refined.at("fl1_pos_rf")[e], 3.2 * static_cast<double>(highest - trace.begin()), 1e-9);
    }
}

TEST(FLRefinement, EventsWithoutAWindowOrTraceAreDefined) {
    Cells cells;
    const auto whole = cells.refined(cells.columns());
    cells.posX[2] = NaN;
    cells.posX[3] = -1e4;          // the window ends before the trace begins
    cells.traces[1][4].resize(40); // ends before the window does
    cells.traces[1][5].clear();
    cells.positions[1].resize(3);
    // What the speed is estimated from stays as it was.
    cells.plan.params.flMaxThreshold = 1000.0;
    FLRefinementColumns columns = cells.columns();
    std::vector<int> percents;
    const StepResult result =
        refineFluorescence(cells.plan, columns, cells.source(), {{}, [&percents](int p) { percents.push_back(p); }});
    ASSERT_TRUE(result.done);
    EXPECT_EQ(percents, (std::vector<int>{0, 50, 100}));
    EXPECT_EQ(result.unreadable, 1U);
    ASSERT_EQ(result.columns.size(), 6U);
    EXPECT_EQ(result.columns[1].name, "fl1_pos_rf");
    for (const std::size_t e : {2U, 3U, 4U, 5U}) {
        EXPECT_EQ(result.columns[0].values[e], 0.0) << e;
        EXPECT_EQ(result.columns[2].values[e], 0.0) << e;
        EXPECT_TRUE(e < 3 ? result.columns[1].values[e] == cells.positions[1][e]
                          : std::isnan(result.columns[1].values[e]));
    }
    for (std::size_t e = 6; e < Cells::Events; ++e) {
        EXPECT_NEAR(result.columns[0].values[e], whole.at("fl1_max_rf")[e], 1e-9) << e;
    }
    EXPECT_GT(result.columns[3].values[4], 0.0); // the other channel has its trace

    FLRefinementPlan empty = cells.plan;
    empty.channels.clear();
    EXPECT_FALSE(refineFluorescence(empty, {}, cells.source()).done);
}

TEST(FLRefinement, StopsAtTheNextEventAndKeepsFinishedChannels) {
    const Cells cells;
    std::stop_source stop;
    std::size_t read = 0;
    const StepResult result = refineFluorescence(cells.plan, cells.columns(),
                                                 [&](int channel, std::size_t event, std::string& problem) {
                                                     if (++read == Cells::Events + 2) {
                                                         stop.request_stop();
                                                     }
                                                     return cells.source()(channel, event, problem);
                                                 },
                                                 {stop.get_token(), {}});
    EXPECT_FALSE(result.done);
    EXPECT_EQ(read, Cells::Events + 2);
    ASSERT_EQ(result.columns.size(), 3U);
    EXPECT_EQ(result.columns[0].name, "fl1_max_rf");
}

TEST(FLRefinement, ChannelsFromFeatureNames) {
    EXPECT_EQ(fluorescenceChannels({"fl2_max", "fl10_max", "fl1_max", "fl1_max_ctc", "fl3_max_rf", "fl7x_max", "fl_max",
                                    "fl-1_max", "fl+4_max", "fl 5_max", "fl99999999999_max", "xfl6_max", "fl8_pos",
                                    "fl02_max"}),
              (std::vector<int>{1, 2, 10}));
    EXPECT_TRUE(fluorescenceChannels({}).empty());
}

class FLRefinementFile : public testing::Test {
protected:
    FLRefinementFile() {
        options_.events = 30;
        options_.columns["size_x"] = Column(30, 12.0);
        options_.columns["fl7_max"] = Column(30, 900.0); // a channel without traces
        options_.columns["fl7_pos"] = Column(30, 50.0);
    }

    void open() {
        writeSampleFile(folder_.file("sample.vqd"), options_);
        ASSERT_TRUE(reader_.open(folder_.file("sample.vqd")));
        metadata_ = reader_.readMetadata();
    }

    SampleFileOptions options_;
    TemporaryFolder folder_;
    VQDReader reader_;
    VQDMetadata metadata_;
};

TEST_F(FLRefinementFile, PlanFromMetadata) {
    open();
    metadata_.fluorescence = {
        {"sample rate", "250000"},       {"sample_rate", "1"},        {"baseline 1 offset", "5.5"},
        {"baseline_1_offset", "6"},      {"baseline_2_offset", "-3"}, {"baseline 3 offset", "much"},
        {"baseline 7 offset, old", "8"}, {"baseline x offset", "9"},  {"bass 7 offset", "9"}};
    metadata_.imaging = {{"pixel size", "0.5"}, {"pixel_size", "0.1"}};
    const FLRefinementParams params{{.hampel1HalfWindow = 7}, 123.0};
    FLRefinementPlan plan = planRefinement(reader_, metadata_, params);
    ASSERT_EQ(plan.channels.size(), 4U);
    const std::vector<FLRefinementPlan::Channel> channels{{1, 5.5, true}, {2, -3, true}, {3, 0, true}, {7, 8, false}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(plan.channels[i].number, channels[i].number);
        EXPECT_EQ(plan.channels[i].offset, channels[i].offset);
        EXPECT_EQ(plan.channels[i].hasTrace, channels[i].hasTrace);
    }
    EXPECT_EQ(plan.events, 30U);
    EXPECT_EQ(plan.traceLength, 50U);
    EXPECT_EQ(plan.sampleTime, 4.0);
    EXPECT_EQ(plan.channelCentre, 16.0); // 64 pixels
    EXPECT_EQ(plan.params, params);

    metadata_.fluorescence = {{"sample_rate", "500000"}};
    metadata_.imaging = {{"pixel_size", "0.25"}};
    plan = planRefinement(reader_, metadata_, params);
    EXPECT_EQ(plan.sampleTime, 2.0);
    EXPECT_EQ(plan.channelCentre, 8.0);
    metadata_.fluorescence = {{"sample rate", "-3"}};
    metadata_.imaging = {{"pixel size", "small"}};
    plan = planRefinement(reader_, metadata_, params);
    EXPECT_EQ(plan.sampleTime, 1e6);
    EXPECT_EQ(plan.channelCentre, 0.0);
    options_.images = false;
    reader_.close();
    open();
    metadata_.imaging = {{"pixel size", "0.5"}};
    EXPECT_EQ(planRefinement(reader_, metadata_, params).channelCentre, 0.0);
}

TEST_F(FLRefinementFile, RefinesAReader) {
    open();
    const FLRefinementParams params{{.hampel2 = false}, 400.0};
    FLRefinement engine;
    EXPECT_FALSE(engine.refine(nullptr, metadata_, params));
    engine.cancel(); // of nothing that runs
    EXPECT_TRUE(engine.refine(&reader_, metadata_, params));
    const std::vector<std::string> names = reader_.traceNames();
    EXPECT_EQ(std::ranges::count(names, "fl1_median_rf"), 1);
    EXPECT_EQ(std::ranges::count(names, "fl7_median_rf"), 0);
    EXPECT_EQ(reader_.getTrace("fl3_median_rf", 4), filteredTrace(reader_.getTrace("fl3_raw", 4), params));

    const FLRefinementPlan plan = planRefinement(reader_, metadata_, params);
    const FLRefinementColumns columns{{{reader_.getFeature("fl1_max"), reader_.getFeature("fl1_pos")},
                                       {reader_.getFeature("fl2_max"), reader_.getFeature("fl2_pos")},
                                       {reader_.getFeature("fl3_max"), reader_.getFeature("fl3_pos")},
                                       {reader_.getFeature("fl7_max"), reader_.getFeature("fl7_pos")}},
                                      reader_.getFeature("pos_x"),
                                      reader_.getFeature("size_x")};
    const StepResult expected = refineFluorescence(plan, columns, [this](int channel, std::size_t i, std::string&) {
        return reader_.getTrace("fl" + std::to_string(channel) + "_raw", i);
    });
    ASSERT_EQ(expected.columns.size(), 12U);
    for (const ComputedColumn& column : expected.columns) {
        EXPECT_EQ(reader_.getFeature(column.name), column.values) << column.name;
        EXPECT_TRUE(reader_.isComputedFeature(column.name));
    }
    EXPECT_GT(reader_.getFeature("fl2_max_rf")[0], 0.0);
    EXPECT_EQ(reader_.getFeature("fl7_max_rf"), Column(30, 0.0));
    EXPECT_EQ(reader_.getFeature("fl7_pos_rf"), Column(30, 50.0));
    EXPECT_EQ(reader_.getFeature("fl7_width_rf"), Column(30, 0.0));
}

TEST_F(FLRefinementFile, WithoutChannelsNothingHappens) {
    options_.defaultColumns = false;
    options_.columns = {{"area_um", Column(30, 1.0)}};
    open();
    FLRefinement engine;
    EXPECT_FALSE(engine.refine(&reader_, metadata_, {}));
    EXPECT_EQ(reader_.traceNames().size(), 6U);
    EXPECT_EQ(reader_.featureNames().size(), 3U); // area, images and masks
}

TEST_F(FLRefinementFile, UnreadableTracesAreCountedInOneLine) {
    {
        PlainFile file(folder_.file("damaged.vqd"));
        file.group("/events");
        file.group("/events/trace");
        const hid_t properties = PlainFile::chunked({1, 40});
        H5Pset_deflate(properties, 1);
        std::vector<std::int16_t> samples(5 * 40, 0);
        for (std::size_t i = 0; i < 5; ++i) {
            samples[i * 40 + 20] = samples[i * 40 + 21] = samples[i * 40 + 22] = 500;
        }
        file.dataset("/events/trace/fl1_raw", H5T_NATIVE_INT16, {5, 40}, samples.data(), properties);
        H5Pclose(properties);
        file.chunk("/events/trace/fl1_raw", 1, {1, 2, 3});
        file.chunk("/events/trace/fl1_raw", 3, {1, 2, 3});
        file.column("fl1_max", H5T_NATIVE_DOUBLE, Column(5, 480.0));
        file.column("fl1_pos", H5T_NATIVE_DOUBLE, Column(5, 21e6)); // sampled once a second, for lack of a rate
    }
    ASSERT_TRUE(reader_.open(folder_.file("damaged.vqd")));
    FLRefinement engine;
    testing::internal::CaptureStderr();
    FLRefinementParams params;
    params.hampel1 = params.hampel2 = params.savitzkyGolay = false;
    EXPECT_TRUE(engine.refine(&reader_, {}, params));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ(message.rfind("FLRefinement: 2 traces of " + reader_.path() +
                                " could not be used, the first one: Error reading trace 'fl1_raw' at index 1: ",
                            0),
              0U)
        << message;
    EXPECT_EQ(std::ranges::count(message, '\n'), 1);
    EXPECT_EQ(reader_.getFeature("fl1_max_rf"), (Column{500, 0, 500, 0, 500}));
    EXPECT_EQ(reader_.getFeature("fl1_pos_rf"), (Column{20e6, 21e6, 20e6, 21e6, 20e6}));
}

} // namespace
} // namespace Tessaly
