// Fake correction algorithm, built as "zeb_algo_fcu.dll": records every call and answers as scripted.
#include "FakeState.h"

#include <algorithm>
#include <utility>

namespace {

typedef std::vector<std::vector<std::pair<float, float>>> Lines;

class FakeAlgo final : public FakeState<FakeAlgoControl> {
public:
    void PushPoint(const char* _pcFunction, float _fX, float _fY) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mapPoints[_pcFunction].push_back({_fX, _fY});
    }
    void SetLines(const Lines& _vecLines) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_vecLines = _vecLines;
    }
    void SetLineNumOverride(int _iLineNum) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_iLineNumOverride = _iLineNum;
    }

    // The scripted output point, or the input when none is queued.
    std::pair<float, float> NextPoint(const char* _pcFunction, std::pair<float, float> _input) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::deque<std::pair<float, float>>& queue = m_mapPoints[_pcFunction];
        if (queue.empty())
            return _input;
        const std::pair<float, float> point = queue.front();
        queue.pop_front();
        return point;
    }
    std::pair<Lines, int> Outline() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return {m_vecLines, m_iLineNumOverride};
    }
    void* NextHandle() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return &m_acHandles[(m_iNextHandle++) % sizeof(m_acHandles)];
    }

protected:
    void ResetOwn() override {
        m_mapPoints.clear();
        m_vecLines.clear();
        m_iLineNumOverride = -1;
    }

private:
    std::map<std::string, std::deque<std::pair<float, float>>> m_mapPoints;
    Lines m_vecLines;
    int m_iLineNumOverride = -1;
    char m_acHandles[64] = {};
    int m_iNextHandle = 0;
};

FakeAlgo& Algo() {
    static FakeAlgo s_algo;
    return s_algo;
}

std::vector<unsigned char> Copy(const void* _p, long long _llSize) {
    return FakeState<FakeAlgoControl>::Bytes(_p, _llSize);
}

std::int64_t Addr(const void* _p) {
    return FakeState<FakeAlgoControl>::Address(_p);
}

std::pair<float, float> ReadPoint(const void* _p, size_t _offset) {
    std::pair<float, float> point{0.0f, 0.0f};
    if (_p) {
        std::memcpy(&point.first, static_cast<const char*>(_p) + _offset, 4);
        std::memcpy(&point.second, static_cast<const char*>(_p) + _offset + 4, 4);
    }
    return point;
}

void WritePoint(void* _p, std::pair<float, float> _point) {
    if (_p) {
        std::memcpy(_p, &_point.first, 4);
        std::memcpy(static_cast<char*>(_p) + 4, &_point.second, 4);
    }
}

// Writes the scripted polylines as the algorithm does: counts and pointers into the line buffer,
// points one after another into the caller's block (whose address the first entry holds).
void WriteOutline(void* _pResult) {
    if (!_pResult)
        return;
    char* pcLineBuffer = nullptr;
    std::memcpy(&pcLineBuffer, static_cast<char*>(_pResult) + 16, sizeof(pcLineBuffer));
    if (!pcLineBuffer)
        return;
    char* pcBlock = nullptr;
    std::memcpy(&pcBlock, pcLineBuffer + 16, sizeof(pcBlock));
    const std::pair<Lines, int> outline = Algo().Outline();
    const Lines& lines = outline.first;
    const int iLineNum = outline.second >= 0 ? outline.second : static_cast<int>(lines.size());
    std::memcpy(pcLineBuffer, &iLineNum, 4);
    size_t used = 0;
    for (size_t i = 0; i < lines.size() && i < 22; ++i) {
        char* pcEntry = pcLineBuffer + 8 + 16 * i;
        const int iCount = static_cast<int>(lines[i].size());
        char* pcPoints = pcBlock ? pcBlock + used * 8 : nullptr;
        std::memcpy(pcEntry, &iCount, 4);
        std::memcpy(pcEntry + 8, &pcPoints, sizeof(pcPoints));
        for (size_t k = 0; pcBlock && k < lines[i].size() && used < 40000; ++k, ++used)
            WritePoint(pcBlock + used * 8, lines[i][k]);
    }
}

} // namespace

FAKE_EXPORT FakeAlgoControl* FakeAlgo_Control() {
    return &Algo();
}

FAKE_EXPORT void* ZebAlgo_FCU_Creat(void* _p1, void* _p2) {
    const std::int64_t llHandle =
        Algo().Record({"ZebAlgo_FCU_Creat", {Addr(_p1), Addr(_p2)}, {}}, Addr(Algo().NextHandle()));
    return reinterpret_cast<void*>(static_cast<intptr_t>(llHandle));
}

FAKE_EXPORT int ZebAlgo_FCU_Release(void* _pHandle) {
    return static_cast<int>(Algo().Record({"ZebAlgo_FCU_Release", {Addr(_pHandle)}, {}}, 0));
}

FAKE_EXPORT int ZebAlgo_FCU_Init(void* _pHandle, void* _pParam) {
    return static_cast<int>(
        Algo().Record({"ZebAlgo_FCU_Init", {Addr(_pHandle), Addr(_pParam)}, {Copy(_pParam, 132)}}, 0));
}

FAKE_EXPORT int ZebAlgo_FCU_Ctrl(void* _pHandle, void* _pParam) {
    return static_cast<int>(
        Algo().Record({"ZebAlgo_FCU_Ctrl", {Addr(_pHandle), Addr(_pParam)}, {Copy(_pParam, 132)}}, 0));
}

FAKE_EXPORT int ZebAlgo_FCU_GetLibInfo(void* _pInfo) {
    return static_cast<int>(Algo().Record({"ZebAlgo_FCU_GetLibInfo", {Addr(_pInfo)}, {}}, -1));
}

FAKE_EXPORT int ZebAlgo_FCU_Point_Transform(void* _pHandle, void* _pRequest, void* _pOut) {
    const int iRet = static_cast<int>(Algo().Record({"ZebAlgo_FCU_Point_Transform",
                                                     {Addr(_pHandle), Addr(_pRequest), Addr(_pOut)},
                                                     {Copy(_pRequest, 92), Copy(_pOut, 8)}},
                                                    0));
    if (iRet >= 0)
        WritePoint(_pOut, Algo().NextPoint("ZebAlgo_FCU_Point_Transform", ReadPoint(_pRequest, 12)));
    return iRet;
}

FAKE_EXPORT int ZebAlgo_FCU_CorrectPoint(void* _pHandle, void* _pRequest, void* _pIn, void* _pOut) {
    const int iRet =
        static_cast<int>(Algo().Record({"ZebAlgo_FCU_CorrectPoint",
                                        {Addr(_pHandle), Addr(_pRequest), Addr(_pIn), Addr(_pOut)},
                                        {Copy(_pRequest, 112), Copy(_pIn, 8), Copy(_pOut, 8)}},
                                       0));
    if (iRet >= 0)
        WritePoint(_pOut, Algo().NextPoint("ZebAlgo_FCU_CorrectPoint", ReadPoint(_pIn, 0)));
    return iRet;
}

FAKE_EXPORT int ZebAlgo_FCU_Process(void* _pHandle, int _iReserved, void* _pRequest, void* _pResult) {
    char* pcLineBuffer = nullptr;
    if (_pResult)
        std::memcpy(&pcLineBuffer, static_cast<char*>(_pResult) + 16, sizeof(pcLineBuffer));
    const int iRet =
        static_cast<int>(Algo().Record({"ZebAlgo_FCU_Process",
                                        {Addr(_pHandle), _iReserved, Addr(_pRequest), Addr(_pResult)},
                                        {Copy(_pRequest, 112), Copy(_pResult, 88), Copy(pcLineBuffer, 368)}},
                                       0));
    if (iRet >= 0)
        WriteOutline(_pResult);
    return iRet;
}
