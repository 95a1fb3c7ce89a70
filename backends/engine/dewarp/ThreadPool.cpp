// The shared worker pool; see ThreadPool.h.
#include "ThreadPool.h"

#include "Dewarp.h"

#include <atomic>
#include <system_error>

namespace fisheye {

struct CLS_ThreadPool::STRUCT_Batch {
    std::function<void(int)> m_fnTask;
    int m_iCount = 0;
    std::atomic<int> m_iNext{0};
    std::mutex m_mutex;
    std::condition_variable m_done;
    int m_iDone = 0; // under m_mutex
};

CLS_ThreadPool::CLS_ThreadPool(int _iWorkers) {
    for (int i = 0; i < _iWorkers; ++i) {
        try {
            m_vecThreads.emplace_back([this] { Work(); });
        } catch (const std::system_error&) {
            break; // out of threads: the callers do the work
        }
    }
}

CLS_ThreadPool::~CLS_ThreadPool() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_blStop = true;
    }
    m_condition.notify_all();
    for (std::thread& thread : m_vecThreads)
        thread.join();
}

CLS_ThreadPool& CLS_ThreadPool::Shared() {
    static CLS_ThreadPool* s_pPool = new CLS_ThreadPool(DefaultThreadCount() - 1);
    return *s_pPool;
}

void CLS_ThreadPool::Drain(STRUCT_Batch& _tBatch) {
    for (;;) {
        const int iTask = _tBatch.m_iNext.fetch_add(1);
        if (iTask >= _tBatch.m_iCount)
            return;
        _tBatch.m_fnTask(iTask);
        std::lock_guard<std::mutex> lock(_tBatch.m_mutex);
        if (++_tBatch.m_iDone == _tBatch.m_iCount)
            _tBatch.m_done.notify_all();
    }
}

void CLS_ThreadPool::Work() {
    for (;;) {
        std::shared_ptr<STRUCT_Batch> pBatch;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_condition.wait(lock, [this] { return m_blStop || !m_queue.empty(); });
            if (m_blStop)
                return;
            pBatch = m_queue.front();
            // Every task of the front batch claimed: it leaves the queue.
            if (pBatch->m_iNext.load() >= pBatch->m_iCount) {
                m_queue.pop_front();
                continue;
            }
        }
        Drain(*pBatch);
    }
}

void CLS_ThreadPool::Run(int _iCount, const std::function<void(int)>& _fnTask) {
    if (_iCount <= 0)
        return;
    if (_iCount == 1 || m_vecThreads.empty()) {
        for (int i = 0; i < _iCount; ++i)
            _fnTask(i);
        return;
    }
    const auto pBatch = std::make_shared<STRUCT_Batch>();
    pBatch->m_fnTask = _fnTask;
    pBatch->m_iCount = _iCount;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back(pBatch);
    }
    m_condition.notify_all();
    Drain(*pBatch);
    std::unique_lock<std::mutex> lock(pBatch->m_mutex);
    pBatch->m_done.wait(lock, [&pBatch] { return pBatch->m_iDone == pBatch->m_iCount; });
}

} // namespace fisheye
