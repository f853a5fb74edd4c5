#include "session/LoadingQueue.h"

#include <gtest/gtest.h>

using namespace Tessaly;

namespace {

using Kind = LoadingQueue::Step::Kind;

TEST(LoadingQueueTest, OnePreloadAtATimeDatasetsBeforeSessionFilesBeforePaths) {
    LoadingQueue queue;
    EXPECT_TRUE(queue.startOrQueue(0));
    queue.queuePath("b.vqd");
    for (const int id : {4, 5, 3}) {
        EXPECT_FALSE(queue.startOrQueue(id));
    }
    queue.queuePath("a.vqd");
    queue.queueSessionFiles({{7, "s.vqd"}, {2, "t.vqd"}});
    queue.remove(5);
    EXPECT_EQ(queue.preloadId(), 0);
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing) << "nothing is handed out while a preload runs";

    EXPECT_EQ(queue.finish(), 0);
    EXPECT_FALSE(queue.isRunning());
    EXPECT_EQ(queue.preloadId(), -1);
    EXPECT_EQ(queue.takeNext().id, 4);
    EXPECT_EQ(queue.takeNext().id, 3) << "a removed dataset isn't preloaded";
    const LoadingQueue::Step ofSession = queue.takeNext();
    EXPECT_EQ(ofSession.kind, Kind::OpenForSession);
    EXPECT_EQ(ofSession.sessionIndex, 7);
    EXPECT_EQ(ofSession.path, "s.vqd");
    queue.dropSessionFiles();
    EXPECT_EQ(queue.takeNext().path, "b.vqd");
    EXPECT_EQ(queue.takeNext().path, "a.vqd");
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing);
}

TEST(LoadingQueueTest, ClearForgetsEverything) {
    LoadingQueue queue;
    queue.startOrQueue(0);
    queue.startOrQueue(1);
    queue.queuePath("a.vqd");
    queue.queueSessionFiles({{0, "s.vqd"}});
    queue.clear();
    EXPECT_FALSE(queue.isRunning());
    EXPECT_EQ(queue.takeNext().kind, Kind::Nothing);
}

} // namespace
