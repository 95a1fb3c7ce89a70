// The worker threads that every remap of a process shares: one pool, sized from the cores, so that
// the views of several players (each on its own decoding thread) do not start threads of their own
// for every picture and do not run more threads than there are cores.
#ifndef FISHEYE_THREAD_POOL_H
#define FISHEYE_THREAD_POOL_H

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace fisheye {

int DefaultThreadCount(); // Dewarp.h

class CLS_ThreadPool {
public:
    // Starts _iWorkers threads (fewer when the system refuses some; none is fine).
    explicit CLS_ThreadPool(int _iWorkers);
    CLS_ThreadPool(const CLS_ThreadPool&) = delete;
    CLS_ThreadPool& operator=(const CLS_ThreadPool&) = delete;
    // Stops and joins the workers; no Run may be in progress.
    ~CLS_ThreadPool();

    // Runs _fnTask(0) ... _fnTask(_iCount - 1), spread over the workers and the calling thread,
    // which takes part and returns when every task is done. Tasks must not throw. Several threads
    // may call Run at once: their tasks share the workers.
    void Run(int _iCount, const std::function<void(int)>& _fnTask);

    int Workers() const { return static_cast<int>(m_vecThreads.size()); }

    // The process's pool: one worker fewer than DefaultThreadCount(), as the caller works too.
    // Never destroyed, so that players still rendering at exit find it.
    static CLS_ThreadPool& Shared();

private:
    struct STRUCT_Batch;
    void Work();
    // Claims and runs tasks of _tBatch until none is left.
    static void Drain(STRUCT_Batch& _tBatch);

    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::deque<std::shared_ptr<STRUCT_Batch>> m_queue;
    bool m_blStop = false;
    std::vector<std::thread> m_vecThreads;
};

// Runs _fn(first, last) over [0, _iRows) split into contiguous bands, _iBands of them (one per core
// for 0), on the shared pool; the calling thread takes part. Bands of whole rows keep each thread's
// writes apart.
template <typename Fn> void RunInRowBands(int _iRows, int _iBands, Fn _fn) {
    const int iBands = std::clamp(_iBands > 0 ? _iBands : DefaultThreadCount(), 1, std::max(_iRows, 1));
    auto bandStart = [&](int _iBand) {
        return static_cast<int>(static_cast<long long>(_iRows) * _iBand / iBands);
    };
    CLS_ThreadPool::Shared().Run(iBands, [&](int _iBand) { _fn(bandStart(_iBand), bandStart(_iBand + 1)); });
}

} // namespace fisheye

#endif // FISHEYE_THREAD_POOL_H
