// The worker pool that every remap shares.
#include "ThreadPool.h"

#include "Dewarp.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using fisheye::CLS_ThreadPool;

namespace {

constexpr int CALLERS = 4;
constexpr int ROUNDS = 50;
constexpr int TASKS = 8;

} // namespace

TEST(RemapThreadPool, EveryTaskRunsOnceAndRunWaitsForAll) {
    CLS_ThreadPool tPool(3);
    EXPECT_EQ(tPool.Workers(), 3);
    for (int iCount : {1, 2, 3, 4, 17, 100}) {
        std::vector<std::atomic<int>> vecRuns(static_cast<size_t>(iCount));
        tPool.Run(iCount, [&vecRuns](int _iTask) { vecRuns[static_cast<size_t>(_iTask)].fetch_add(1); });
        // Read only after Run returned: every task finished by then.
        for (int i = 0; i < iCount; ++i)
            EXPECT_EQ(vecRuns[static_cast<size_t>(i)].load(), 1) << iCount << ": task " << i;
    }
}

TEST(RemapThreadPool, NoTasksAndNoWorkers) {
    CLS_ThreadPool tPool(2);
    int iCalls = 0;
    tPool.Run(0, [&iCalls](int) { ++iCalls; });
    tPool.Run(-3, [&iCalls](int) { ++iCalls; });
    EXPECT_EQ(iCalls, 0);
    // Without workers the caller runs everything itself, in order.
    CLS_ThreadPool tEmpty(0);
    EXPECT_EQ(tEmpty.Workers(), 0);
    std::vector<int> vecOrder;
    const std::thread::id tCaller = std::this_thread::get_id();
    tEmpty.Run(5, [&](int _iTask) {
        EXPECT_EQ(std::this_thread::get_id(), tCaller);
        vecOrder.push_back(_iTask);
    });
    EXPECT_EQ(vecOrder, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(RemapThreadPool, SeveralCallersShareTheWorkers) {
    CLS_ThreadPool tPool(2);
    std::vector<std::atomic<long long>> vecSums(CALLERS);
    std::vector<std::thread> vecCallers;
    for (int c = 0; c < CALLERS; ++c)
        vecCallers.emplace_back([&tPool, &vecSums, c] {
            for (int r = 0; r < ROUNDS; ++r) {
                std::atomic<int> iDone{0};
                tPool.Run(TASKS, [&](int _iTask) {
                    vecSums[static_cast<size_t>(c)].fetch_add(_iTask + 1);
                    iDone.fetch_add(1);
                });
                EXPECT_EQ(iDone.load(), TASKS);
            }
        });
    for (std::thread& thread : vecCallers)
        thread.join();
    for (int c = 0; c < CALLERS; ++c)
        EXPECT_EQ(vecSums[static_cast<size_t>(c)].load(), ROUNDS * (TASKS * (TASKS + 1) / 2)) << c;
}

TEST(RemapThreadPool, TheSharedPoolLeavesOneCoreToTheCaller) {
    EXPECT_EQ(CLS_ThreadPool::Shared().Workers(), fisheye::DefaultThreadCount() - 1);
    EXPECT_EQ(&CLS_ThreadPool::Shared(), &CLS_ThreadPool::Shared());
}
