// Scripting and journal interface of the fake engine ("Korvane.dll") and the fake correction
// algorithm ("zeb_algo_fcu.dll"). Each fake exports one function that returns its control object:
//   extern "C" FakeEngineControl* FakeEngine_Control();
//   extern "C" FakeAlgoControl* FakeAlgo_Control();
// The objects are used through their virtual functions only, so a test needs no link to the fake.
#ifndef FAKE_CONTROL_H
#define FAKE_CONTROL_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// One call into a fake, with copies of the records it was given (taken at the call).
struct FakeCall {
    std::string m_strName;
    std::vector<std::int64_t> m_vecArgs; // every argument in order; pointers as their address
    std::vector<std::vector<unsigned char>> m_vecRecords;

    template <typename T> T Record(size_t _index = 0) const {
        T t{};
        if (_index < m_vecRecords.size() && m_vecRecords[_index].size() >= sizeof(T))
            std::memcpy(&t, m_vecRecords[_index].data(), sizeof(T));
        return t;
    }
};

class FakeControl {
public:
    // Forgets the journal and every scripted result and state.
    virtual void Reset() = 0;
    // Result of the next call of the named function only (queued, first in first out).
    virtual void PushResult(const char* _pcFunction, std::int64_t _llResult) = 0;
    // Result of every later call of the named function, after the queued ones.
    virtual void SetResult(const char* _pcFunction, std::int64_t _llResult) = 0;
    virtual std::vector<FakeCall> Journal() = 0;
    // Forgets the journal only; scripted results and state (registrations, stores) stay.
    virtual void ClearJournal() = 0;
    // The calls of one function, in order.
    virtual std::vector<FakeCall> Calls(const char* _pcFunction) = 0;

protected:
    ~FakeControl() = default;
};

class FakeEngineControl : public FakeControl {
public:
    // Parameter store behind KW_Get/SetFishEyeCorrectPara, per (correction id, kind).
    virtual void SetPara(int _iCorrectId, int _iKind, const std::vector<unsigned char>& _vecBytes) = 0;
    virtual std::vector<unsigned char> GetPara(int _iCorrectId, int _iKind) = 0;
    // Calls the user-data callback last registered for the play index (KW_PlayerControl command 4)
    // with the given payload. False when none is registered.
    virtual bool DeliverUserData(int _iPlayIndex, int _iDataType, const unsigned char* _pcData,
                                 int _iLength) = 0;
    // Bytes of a stream packet that KW_PutStreamToPlayer copies into the journal, at most (Reset:
    // the whole packet). A limit of 0 lets a test pass a size larger than its buffer and check that
    // the size reaches the engine unchanged without the fake reading the buffer.
    virtual void SetStreamCopyLimit(int _iMaxBytes) = 0;

protected:
    ~FakeEngineControl() = default;
};

class FakeAlgoControl : public FakeControl {
public:
    // Output of the next ZebAlgo_FCU_Point_Transform or ZebAlgo_FCU_CorrectPoint call (queued);
    // without one the output is the input point.
    virtual void PushPoint(const char* _pcFunction, float _fX, float _fY) = 0;
    // Polylines that every later ZebAlgo_FCU_Process writes into the caller's buffers.
    virtual void SetLines(const std::vector<std::vector<std::pair<float, float>>>& _vecLines) = 0;
    // Line count reported by ZebAlgo_FCU_Process instead of the number of polylines (-1: none).
    virtual void SetLineNumOverride(int _iLineNum) = 0;

protected:
    ~FakeAlgoControl() = default;
};

#endif // FAKE_CONTROL_H
