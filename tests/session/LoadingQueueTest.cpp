#include "session/LoadingQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Tessaly;

namespace {

using Kind = LoadingQueue::Step::Kind;

TEST(LoadingQueueTest, OnePreloadAtATimeRowsBeforePaths) {
    LoadingQueue queue;
    EXPECT_TRUE(queue.startOrQueue(0));
    queue.queuePath("b.vqd");
    EXPECT_FALSE(queue.startOrQueue(4));
    queue.queuePath("a.vqd");
    EXPECT_FALSE(queue.startOrQueue(3));
    EXPECT_EQ(queue.preloadRow(), 0);
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing) << "nothing is handed out while a preload runs";

    EXPECT_EQ(queue.finish(), 0);
    EXPECT_FALSE(queue.isRunning());
    EXPECT_EQ(queue.takeNext().row, 4);
    EXPECT_EQ(queue.takeNext().row, 3);
    EXPECT_EQ(queue.takeNext().path, "b.vqd");
    EXPECT_EQ(queue.takeNext().path, "a.vqd");
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing);
}

TEST(LoadingQueueTest, ARemovedPreloadHasNoRowAndClearForgetsEverything) {
    LoadingQueue queue;
    queue.startOrQueue(2);
    queue.rowRemoved(2);
    EXPECT_TRUE(queue.isRunning());
    EXPECT_EQ(queue.finish(), -1);
    queue.startOrQueue(0);
    queue.startOrQueue(1);
    queue.queuePath("a.vqd");
    queue.clear();
    EXPECT_FALSE(queue.isRunning());
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing);
}

/// The same list and queues by ids, where removals and moves need no correction.
struct ByIds {
    std::vector<int> list;
    std::vector<int> waiting;
    int loading = -1;

    int idAt(int row) const { return row < 0 ? -1 : list[static_cast<std::size_t>(row)]; }
};

TEST(LoadingQueueTest, RowsKeepPointingAtTheSameDatasetsThroughRemovalsAndMoves) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&random](std::size_t bound) { return static_cast<int>(random() % bound); };
        ByIds byIds{.list = {0, 1, 2, 3, 4, 5, 6, 7}, .waiting = {}, .loading = 3};
        LoadingQueue queue;
        queue.startOrQueue(3);
        for (const int row : {5, 0, 7, 1}) {
            queue.startOrQueue(row);
            byIds.waiting.push_back(row);
        }
        while (byIds.list.size() > 3) {
            const int row = below(byIds.list.size());
            const int id = byIds.idAt(row);
            byIds.list.erase(byIds.list.begin() + row);
            if (random() % 3 == 0 && id != byIds.loading) {
                std::erase(byIds.waiting, id);
                queue.rowRemoved(row);
            } else {
                const int target = below(byIds.list.size() + 1);
                byIds.list.insert(byIds.list.begin() + target, id);
                queue.rowMoved(row, target);
            }
            ASSERT_EQ(byIds.idAt(queue.preloadRow()), byIds.loading) << "seed " << seed;
        }
        EXPECT_EQ(byIds.idAt(queue.finish()), byIds.loading);
        std::vector<int> waiting;
        for (auto step = queue.takeNext(); step.kind == Kind::Preload; step = queue.takeNext()) {
            waiting.push_back(byIds.idAt(step.row));
        }
        EXPECT_EQ(waiting, byIds.waiting) << "seed " << seed;
    }
}

} // namespace
