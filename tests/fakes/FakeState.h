// Journal and scripted results shared by both fakes (each fake library has its own copy).
#ifndef FAKE_STATE_H
#define FAKE_STATE_H

#include "FakeControl.h"

#include <deque>
#include <map>
#include <mutex>

#if defined(_WIN32)
#define FAKE_EXPORT extern "C" // exported through a module-definition file per variant
#else
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

template <typename Interface> class FakeState : public Interface {
public:
    void Reset() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_vecJournal.clear();
        m_mapQueued.clear();
        m_mapSticky.clear();
        ResetOwn();
    }
    void PushResult(const char* _pcFunction, std::int64_t _llResult) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mapQueued[_pcFunction].push_back(_llResult);
    }
    void SetResult(const char* _pcFunction, std::int64_t _llResult) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mapSticky[_pcFunction] = _llResult;
    }
    std::vector<FakeCall> Journal() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_vecJournal;
    }
    void ClearJournal() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_vecJournal.clear();
    }
    std::vector<FakeCall> Calls(const char* _pcFunction) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<FakeCall> vecCalls;
        for (const FakeCall& call : m_vecJournal)
            if (call.m_strName == _pcFunction)
                vecCalls.push_back(call);
        return vecCalls;
    }

    // Records a call and returns its scripted result, or _llDefault when none is scripted.
    std::int64_t Record(FakeCall _call, std::int64_t _llDefault) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::int64_t llResult = _llDefault;
        auto itQueued = m_mapQueued.find(_call.m_strName);
        auto itSticky = m_mapSticky.find(_call.m_strName);
        if (itQueued != m_mapQueued.end() && !itQueued->second.empty()) {
            llResult = itQueued->second.front();
            itQueued->second.pop_front();
        } else if (itSticky != m_mapSticky.end()) {
            llResult = itSticky->second;
        }
        m_vecJournal.push_back(std::move(_call));
        return llResult;
    }

    static std::vector<unsigned char> Bytes(const void* _pData, long long _llSize) {
        if (!_pData || _llSize <= 0)
            return {};
        const unsigned char* pc = static_cast<const unsigned char*>(_pData);
        return std::vector<unsigned char>(pc, pc + _llSize);
    }
    static std::int64_t Address(const void* _p) {
        return static_cast<std::int64_t>(reinterpret_cast<intptr_t>(_p));
    }

protected:
    virtual void ResetOwn() = 0; // called with m_mutex held
    std::mutex m_mutex;

private:
    std::vector<FakeCall> m_vecJournal;
    std::map<std::string, std::deque<std::int64_t>> m_mapQueued;
    std::map<std::string, std::int64_t> m_mapSticky;
};

#endif // FAKE_STATE_H
