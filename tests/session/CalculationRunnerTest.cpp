#include "session/CalculationRunner.h"

#include "session/SessionBuilder.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <thread>

namespace Tessaly {

namespace {

/// Work that tests hold up and let go.
struct Gate {
    std::counting_semaphore<> entered{0};
    std::counting_semaphore<> open{0};

    /// One event's work that waits here; done unless it was stopped meanwhile.
    CalculationWork work(const std::string& feature, std::vector<double> values) {
        return [this, feature, values](const StepControl& control) {
            control.report(0);
            control.report(25);
            entered.release();
            open.acquire();
            StepResult result;
            result.done = !control.isStopped();
            result.columns.push_back({feature, values});
            return result;
        };
    }
};

CalculationTask taskOf(const DatasetEntry& dataset, CalculationWork work) {
    return {dataset.reader, [work] { return work; }};
}

CalculationJob jobOf(std::vector<CalculationTask> tasks) {
    return {Calculation::Modulus, std::move(tasks), [](DatasetEntry& dataset) { dataset.emodApplied = true; }};
}

class CalculationRunnerTest : public testing::Test {
protected:
    CalculationRunnerTest() {
        QObject::connect(&runner, &CalculationRunner::ended, [this] { ++ended; });
        QObject::connect(&builder.session.notices(), &SessionNotices::columnsChanged,
                         [this](int id) { changed.push_back(id); });
    }

    SessionBuilder builder;
    Session& session = builder.session;
    Gate gate; // outlives the runner, whose threads wait at it
    int ended = 0;
    std::vector<int> changed;
    CalculationRunner runner{session};
};

} // namespace

TEST_F(CalculationRunnerTest, ColumnsAndMarksArriveTogetherForEveryDatasetOfAMeasurement) {
    DatasetEntry& first = builder.add({{"deform", {1, 2, 3}}});
    DatasetEntry& other = builder.add({{"deform", {4, 5, 6}}});
    const int copy = session.duplicate(first.id);
    QObject::connect(&runner, &CalculationRunner::ended, [&] {
        EXPECT_FALSE(runner.isRunning());
        EXPECT_TRUE(first.emodApplied);
        EXPECT_EQ(first.reader->getFeature("emodulus"), (std::vector<double>{7, 8, 9}));
    });
    QSignalSpy progress(&runner, &CalculationRunner::progressChanged);
    ASSERT_TRUE(runner.start(jobOf({taskOf(first, gate.work("emodulus", {7, 8, 9}))})));
    gate.entered.acquire();
    const int late = session.duplicate(first.id);
    EXPECT_TRUE(runner.uses(first.id) && runner.uses(copy) && runner.uses(late));
    EXPECT_FALSE(runner.uses(other.id) || runner.uses(99));
    EXPECT_FALSE(first.reader->hasFeature("emodulus")) << "nobody sees a feature before the job has ended";
    EXPECT_FALSE(runner.start(jobOf({taskOf(other, gate.work("emodulus", {0, 0, 0}))}))) << "one at a time";
    gate.open.release();
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 1; }));
    EXPECT_EQ(changed, (std::vector<int>{first.id, copy, late}));
    EXPECT_TRUE(session.findById(copy)->emodApplied && session.findById(late)->emodApplied);
    EXPECT_FALSE(other.emodApplied);
    EXPECT_FALSE(runner.uses(first.id));
    ASSERT_EQ(progress.size(), 2);
    EXPECT_EQ(progress[1], (QVariantList{25, 1, 1}));
}

TEST_F(CalculationRunnerTest, WhatFailsOrThrowsLeavesItsDatasetUnmarkedAndTheOthersDone) {
    std::vector<CalculationTask> tasks;
    std::vector<DatasetEntry*> datasets;
    for (int i = 0; i < 4; ++i) {
        datasets.push_back(&builder.add({{"deform", {1}}}));
    }
    tasks.push_back(taskOf(*datasets[0], [](const StepControl&) -> StepResult { throw std::runtime_error("odd"); }));
    tasks.push_back(taskOf(*datasets[1], [](const StepControl&) { return StepResult(); }));
    // Channels that were finished before a calculation gave up stay.
    tasks.push_back(taskOf(*datasets[2], [](const StepControl&) {
        StepResult half;
        half.columns.push_back({"fl1_max_rf", {5}});
        return half;
    }));
    gate.open.release();
    tasks.push_back(taskOf(*datasets[3], gate.work("emodulus", {6})));
    ASSERT_TRUE(runner.start(jobOf(std::move(tasks))));
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 1; }));
    EXPECT_EQ(changed, (std::vector<int>{2, 3}));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(datasets[static_cast<std::size_t>(i)]->emodApplied, i == 3) << i;
    }
    EXPECT_EQ(datasets[2]->reader->getFeature("fl1_max_rf"), std::vector<double>{5});
    EXPECT_TRUE(runner.start(jobOf({taskOf(*datasets[0], [](const StepControl&) { return StepResult(); })})))
        << "ready for the next";
}

TEST_F(CalculationRunnerTest, TwoMeasurementsAtOnceAndTheProgressIsThatOfTheFirstUnfinished) {
    std::vector<CalculationTask> tasks;
    for (int i = 0; i < 3; ++i) {
        tasks.push_back(taskOf(builder.add({{"deform", {1}}}), gate.work("emodulus", {1})));
    }
    QSignalSpy progress(&runner, &CalculationRunner::progressChanged);
    ASSERT_TRUE(runner.start(jobOf(std::move(tasks))));
    gate.entered.acquire();
    gate.entered.acquire(); // two are in, though neither was let go
    QCoreApplication::processEvents();
    EXPECT_FALSE(gate.entered.try_acquire()) << "the third waits";
    ASSERT_FALSE(progress.isEmpty());
    for (const QVariantList& news : progress) {
        EXPECT_EQ(news[1].toInt(), 1);
        EXPECT_EQ(news[2].toInt(), 3);
    }
    gate.open.release(3);
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 1; }));
    EXPECT_EQ(changed.size(), 3U);
}

TEST_F(CalculationRunnerTest, ADatasetThatHasLeftIsPassedOver) {
    DatasetEntry& removed = builder.add({{"deform", {1}}});
    const int removedId = removed.id;
    std::vector<DatasetEntry*> others = {&builder.add({{"deform", {1}}}), &builder.add({{"deform", {1}}})};
    const std::weak_ptr<VQDReader> reader = removed.reader;
    std::vector<CalculationTask> tasks = {taskOf(*others[0], gate.work("emodulus", {1})),
                                          taskOf(removed, gate.work("emodulus", {1}))};
    tasks.push_back(taskOf(*others[1], gate.work("emodulus", {1})));
    ASSERT_TRUE(runner.start(jobOf(std::move(tasks))));
    gate.entered.acquire();
    gate.entered.acquire();
    session.remove(removedId);     // at work
    session.remove(others[1]->id); // not yet begun
    gate.open.release(3);
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 1; }));
    EXPECT_EQ(changed, std::vector<int>{others[0]->id});
    EXPECT_FALSE(gate.entered.try_acquire()) << "no work for a dataset that has left before its turn";
    EXPECT_TRUE(reader.expired());
}

TEST_F(CalculationRunnerTest, WaitingJobsHaveTheirTurnOnceAndOnlyIfTheirDatasetIsStillThere) {
    DatasetEntry& first = builder.add({{"deform", {1}}});
    DatasetEntry& second = builder.add({{"deform", {1}}});
    DatasetEntry& third = builder.add({{"deform", {1}}});
    const auto job = [this](const DatasetEntry& dataset) {
        return jobOf({taskOf(dataset, gate.work("emodulus", {1}))});
    };
    runner.enqueue(job(first));
    runner.enqueue(job(first)); // runs already
    runner.enqueue(job(second));
    runner.enqueue(job(third));
    runner.enqueue(job(second)); // waits already
    EXPECT_TRUE(runner.uses(first.id));
    EXPECT_FALSE(runner.uses(second.id)) << "what only waits doesn't keep a dataset";
    session.remove(third.id);
    gate.open.release(5);
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 2; }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(runner.isRunning());
    EXPECT_EQ(changed, (std::vector<int>{first.id, second.id}));
}

TEST_F(CalculationRunnerTest, AClearedSessionGivesTheJobUp) {
    DatasetEntry& first = builder.add({{"deform", {1}}});
    const std::weak_ptr<VQDReader> reader = first.reader;
    QSignalSpy stopped(&runner, &CalculationRunner::stopped);
    ASSERT_TRUE(runner.start(jobOf({taskOf(first, gate.work("emodulus", {1}))})));
    runner.enqueue({Calculation::Fourier, {taskOf(first, gate.work("deform_fc", {1}))}, {}});
    gate.entered.acquire();
    gate.open.release();
    session.clear();
    EXPECT_FALSE(runner.isRunning());
    EXPECT_EQ(stopped.size(), 1);
    EXPECT_TRUE(reader.expired());
    QCoreApplication::processEvents();
    EXPECT_EQ(ended, 0);
    EXPECT_TRUE(changed.empty());
    EXPECT_FALSE(gate.entered.try_acquire()) << "what waited is forgotten";

    DatasetEntry& next = builder.add({{"deform", {1}}});
    gate.open.release();
    EXPECT_TRUE(runner.start(jobOf({taskOf(next, gate.work("emodulus", {2}))})));
    EXPECT_TRUE(QTest::qWaitFor([this] { return ended == 1; }));
}

TEST_F(CalculationRunnerTest, TheEndOfTheRunnerStopsTheWorkAtTheEventAtHand) {
    DatasetEntry& first = builder.add({{"deform", {1}}});
    std::atomic<int> events = 0;
    {
        CalculationRunner brief(session);
        QObject::connect(&brief, &CalculationRunner::ended, [] { ADD_FAILURE() << "nothing may be shown any more"; });
        ASSERT_TRUE(brief.start(jobOf({taskOf(first, [&events](const StepControl& control) {
            while (!control.isStopped()) {
                ++events;
                control.report(static_cast<std::size_t>(events % 100));
            }
            return StepResult();
        })})));
        while (events < 3) {
            std::this_thread::yield();
        }
    }
    const int atTheEnd = events;
    QCoreApplication::processEvents();
    EXPECT_EQ(events, atTheEnd);
    EXPECT_FALSE(first.emodApplied);
}

// For the thread sanitizer too: the interface looks at events and replaces columns while a job reads.
TEST_F(CalculationRunnerTest, TheInterfaceReadsAndReplacesWhileAJobRuns) {
    SampleFileOptions options;
    options.events = 400;
    options.gzip = true;
    DatasetEntry& first = builder.add(options);
    DatasetEntry& second = builder.add(options);
    session.setActive(first.id);
    EModulus engine;
    ASSERT_TRUE(runner.start(refinementJob(session, CalculationScope::All, {})));
    runner.enqueue(fourierJob(session, CalculationScope::All));
    runner.enqueue(compensationJob(session, CalculationScope::All, {{1, 0, 0}, {0.5, 1, 0}, {0, 0, 1}}));
    std::size_t event = 0;
    const std::vector<double> own(options.events, 1.0);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            int width = 0;
            int height = 0;
            for (DatasetEntry* dataset : {&first, &second}) {
                EXPECT_FALSE(dataset->reader->getMask(event, &width, &height).empty());
                EXPECT_EQ(dataset->reader->getTrace("fl1_median_rf", event).size(), 50U);
                dataset->reader->setFeature("userdef1", std::vector<double>(own));
                dataset->reader->setFeature("pos_x", std::vector<double>(own)); // in use by the job
                EXPECT_EQ(dataset->reader->getFeature("userdef1"), own);
            }
            event = (event + 1) % options.events;
            return ended == 3;
        },
        60000));
    for (const DatasetEntry* dataset : {&first, &second}) {
        EXPECT_TRUE(dataset->flRefinementApplied && dataset->fourierApplied && dataset->ctcApplied);
        EXPECT_TRUE(dataset->reader->isComputedFeature("fl3_width_rf"));
        // By hand: x1 = y1, x2 = y2 - 0.5 y1 undoes row 2 of the matrix.
        const auto& y1 = dataset->reader->getFeature("fl1_max_rf");
        const auto& y2 = dataset->reader->getFeature("fl2_max_rf");
        const auto& x2 = dataset->reader->getFeature("fl2_max_ctc");
        ASSERT_EQ(x2.size(), options.events);
        for (std::size_t i = 0; i < x2.size(); i += 37) {
            EXPECT_NEAR(x2[i], y2[i] - 0.5 * y1[i], 1e-9 * std::abs(y1[i]) + 1e-9);
        }
    }
}

} // namespace Tessaly
