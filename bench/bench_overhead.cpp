// What the library adds on top of the engine and the correction algorithm, measured against the
// test fakes (run with LD_LIBRARY_PATH=<build>/fakes/engine/full:<build>/fakes/algo/full).
//
// Every operation has two benchmarks with the same arguments:
//   <name>/facade  the library's call (the exported facade, or CLS_MainPlayer for an overlay pass)
//   <name>/bare    the fake-engine and fake-algorithm calls that operation made, replayed directly
//                  (recorded from the fakes' journal just before), with the same arguments and records
// so that facade / bare is the library's cost relative to the calls it cannot avoid. Each iteration
// runs "ops" operations (a move and its opposite, so that a view never sticks at an edge); the
// counter "allocs" is the number of heap allocations per operation, counted by the replaced global
// operator new below (the fakes' own journal allocations are in both, so facade - bare is the
// library's).
#include "CLS_FishPlayer.h"
#include "bindings/CLS_ZebAlgoFcu.h"
#include "bindings/CLS_ZebPlayer_SDK.h"
#include "abi/ZebAlgoRecords.h"
#include "mainplayer/CLS_MainPlayer.h"
#include "tests/fakes/FakeControl.h"

#include <QtGlobal>
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

// Allocation counter: every heap allocation of the process (the fakes' included). operator new is
// replaced, and malloc is interposed too because Qt's containers allocate with malloc.
static std::atomic<long long> g_llAllocations{0};

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t _size) {
    g_llAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(_size);
}
void* calloc(std::size_t _count, std::size_t _size) {
    g_llAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(_count, _size);
}
void* realloc(void* _p, std::size_t _size) {
    g_llAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(_p, _size);
}
void free(void* _p) {
    __libc_free(_p);
}
}

void* operator new(std::size_t _size) {
    g_llAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = __libc_malloc(_size ? _size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t _size) {
    return operator new(_size);
}
void operator delete(void* _p) noexcept {
    __libc_free(_p);
}
void operator delete[](void* _p) noexcept {
    __libc_free(_p);
}
void operator delete(void* _p, std::size_t) noexcept {
    __libc_free(_p);
}
void operator delete[](void* _p, std::size_t) noexcept {
    __libc_free(_p);
}

namespace {

FakeEngineControl* Engine() {
    static FakeEngineControl* s_p = [] {
        void* pLib = dlopen("Korvane.dll", RTLD_NOW | RTLD_NOLOAD);
        auto pf =
            pLib ? reinterpret_cast<FakeEngineControl* (*)()>(dlsym(pLib, "FakeEngine_Control")) : nullptr;
        return pf ? pf() : nullptr;
    }();
    return s_p;
}

FakeAlgoControl* Algo() {
    static FakeAlgoControl* s_p = [] {
        void* pLib = dlopen("zeb_algo_fcu.dll", RTLD_NOW | RTLD_NOLOAD);
        auto pf = pLib ? reinterpret_cast<FakeAlgoControl* (*)()>(dlsym(pLib, "FakeAlgo_Control")) : nullptr;
        return pf ? pf() : nullptr;
    }();
    return s_p;
}

// The journals grow with every call; both variants of a benchmark forget them at the same pace.
constexpr int JOURNAL_CLEAR_EVERY = 256;

void ClearJournals() {
    Engine()->ClearJournal();
    Algo()->ClearJournal();
}

std::vector<FakeCall> TakeJournal() {
    std::vector<FakeCall> vec = Engine()->Journal();
    for (FakeCall& call : Algo()->Journal())
        vec.push_back(std::move(call));
    ClearJournals();
    return vec;
}

void* Ptr(std::int64_t _ll) {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(_ll));
}

// One recorded fake call made callable again: its records copied into buffers of its own.
class CLS_Replay {
public:
    explicit CLS_Replay(const FakeCall& _call) : m_call(_call), m_vecBuffers(_call.m_vecRecords) {
        for (auto& buffer : m_vecBuffers)
            buffer.resize(std::max<std::size_t>(buffer.size(), 4096));
        m_vecScratch.resize(4096);
        if (_call.m_strName == "ZebAlgo_FCU_Process")
            m_vecPoints.resize(FCU_POINT_BLOCK_POINTS);
    }

    void operator()() {
        const std::vector<std::int64_t>& a = m_call.m_vecArgs;
        const std::string& n = m_call.m_strName;
        auto I = [&](int k) { return static_cast<int>(a[k]); };
        auto R = [&](std::size_t k) -> void* {
            return k < m_vecBuffers.size() ? m_vecBuffers[k].data() : m_vecScratch.data();
        };
        int iRet = 0;
        if (n == "KW_PutStreamToPlayer")
            iRet = CLS_ZebPlayer_SDK::KW_PutStreamToPlayer(I(0), static_cast<unsigned char*>(R(0)), I(2));
        else if (n == "KW_GetFishEyeCorrectPara")
            iRet = CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara(I(0), I(1), I(2), m_vecScratch.data(), I(4));
        else if (n == "KW_SetFishEyeCorrectPara")
            iRet = CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara(I(0), I(1), I(2), R(0), I(4));
        else if (n == "KW_CreatePlayerForSpecialNeeds")
            iRet = CLS_ZebPlayer_SDK::KW_CreatePlayerForSpecialNeeds(I(0), R(0), I(2), I(3));
        else if (n == "KW_Play")
            iRet = CLS_ZebPlayer_SDK::KW_Play(I(0));
        else if (n == "KW_PlayerControl")
            iRet = CLS_ZebPlayer_SDK::KW_PlayerControl(I(0), I(1), R(0), I(3), I(4));
        else if (n == "KW_DeletePlayer")
            iRet = CLS_ZebPlayer_SDK::KW_DeletePlayer(I(0));
        else if (n == "KW_CreateFishEyeCorrect")
            iRet = CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect(I(0), R(0), I(2));
        else if (n == "KW_DeleteFishEyeCorrect")
            iRet = CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect(I(0), I(1));
        else if (n == "KW_SetFishEyeCorrectCallBack")
            iRet = CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack(
                I(0), I(1), reinterpret_cast<PF_FishEyeCorrectCallBack>(Ptr(a[2])), Ptr(a[3]));
        else if (n == "KW_SetFishEyeCorrectEnable")
            iRet = CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectEnable(I(0), I(1), R(0));
        else if (n == "ZebAlgo_FCU_Creat")
            benchmark::DoNotOptimize(CLS_ZebAlgoFcu::ZebAlgo_FCU_Creat(Ptr(a[0]), Ptr(a[1])));
        else if (n == "ZebAlgo_FCU_Release")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Release(Ptr(a[0]));
        else if (n == "ZebAlgo_FCU_Init")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Init(Ptr(a[0]), R(0));
        else if (n == "ZebAlgo_FCU_Ctrl")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Ctrl(Ptr(a[0]), R(0));
        else if (n == "ZebAlgo_FCU_GetLibInfo")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_GetLibInfo(m_vecScratch.data());
        else if (n == "ZebAlgo_FCU_Point_Transform")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform(Ptr(a[0]), R(0), m_vecScratch.data());
        else if (n == "ZebAlgo_FCU_CorrectPoint")
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint(Ptr(a[0]), R(0), R(1), m_vecScratch.data());
        else if (n == "ZebAlgo_FCU_Process") {
            // As the library does: a result record pointing at a line buffer and a point block.
            STRUCT_FcuLineBuffer tLines{};
            tLines.m_atLines[0].m_pPoints = m_vecPoints.data();
            STRUCT_FcuProcessResult tResult{};
            tResult.m_iSize = sizeof(STRUCT_FcuProcessResult);
            tResult.m_pLineBuffer = &tLines;
            iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Process(Ptr(a[0]), I(1), R(0), &tResult);
        } else if (n == "KW_CreateSystem")
            iRet = CLS_ZebPlayer_SDK::KW_CreateSystem(I(0));
        else {
            std::fprintf(stderr, "bench_overhead: no replay for %s\n", n.c_str());
            std::abort();
        }
        benchmark::DoNotOptimize(iRet);
    }

private:
    FakeCall m_call;
    std::vector<std::vector<unsigned char>> m_vecBuffers;
    std::vector<unsigned char> m_vecScratch;
    std::vector<STRUCT_FcuPoint> m_vecPoints;
};

void* Window(int _i) {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(0x10000 + 0x100 * _i));
}

QMap<int, QVector<void*>> PtzWindows(int _iCount) {
    QMap<int, QVector<void*>> qmap;
    for (int i = 0; i < _iCount; ++i)
        qmap[CORRECT_TYPE_PTZ].append(Window(2 + i));
    return qmap;
}

// One window for every view kind, three of them PTZ views.
QMap<int, QVector<void*>> EveryViewWindows() {
    QMap<int, QVector<void*>> qmap = PtzWindows(3);
    qmap[0] = {Window(1)};
    qmap[CORRECT_TYPE_180] = {Window(10)};
    qmap[CORRECT_TYPE_360] = {Window(11)};
    qmap[CORRECT_TYPE_LAT] = {Window(12)};
    qmap[CORRECT_TYPE_FISHEYE] = {Window(13)};
    return qmap;
}

struct STRUCT_Header {
    int m_aiFields[3];
};

void ResetFakes() {
    Engine()->Reset();
    Algo()->Reset();
    Engine()->SetStreamCopyLimit(0);
}

// The largest outline the algorithm can return: 22 polylines (the most the line buffer holds)
// sharing the 40000-point block, 1818 points each. 22 polylines of 2500 points (the most the library
// copies from one) would need 55000 points: more than the block, whose overflow the fake would
// point past its end.
constexpr int LARGEST_OUTLINE_POINTS = FCU_POINT_BLOCK_POINTS / FCU_MAX_LINES;
void ScriptLargestOutline() {
    std::vector<std::vector<std::pair<float, float>>> vecLines(FCU_MAX_LINES);
    for (std::size_t i = 0; i < vecLines.size(); ++i)
        for (int k = 0; k < LARGEST_OUTLINE_POINTS; ++k)
            vecLines[i].emplace_back(0.3f + 0.0001f * k, 0.2f + 0.02f * i);
    Algo()->SetLines(vecLines);
}

int CreatePlayer(const QMap<int, QVector<void*>>& _qmapWindows, n_DrawType _eType = n_DrawType_Rect) {
    STRUCT_Header tHeader{{12, 1920, 1080}};
    QMap<int, QVector<int>> qmapIds;
    int iId = -1;
    const int iRet = CLS_FishPlayer::GetInstance()->FishPlayer_CreatePlayerFromStream(
        STRUCT_FishEyeParam{2, 0, 0}, Window(0), _qmapWindows, 0, reinterpret_cast<unsigned char*>(&tHeader),
        12, &iId, qmapIds, true, osd_TLDCSet{}, STRUCT_FishDrawParam{0, _eType});
    if (iRet != 0) {
        std::fprintf(stderr, "bench_overhead: player creation failed (%d)\n", iRet);
        std::abort();
    }
    return iId;
}

// Runs one benchmark: _op(k) performs operation k of a cycle of _iOps (range(0) == 0), or the fake
// calls that one cycle made are replayed (range(0) == 1): the engine's calls, then the algorithm's
// (the two journals are kept apart; the order does not change what the calls cost).
void Run(benchmark::State& _state, int _iOps, const std::function<void(int)>& _op) {
    const bool blBare = _state.range(0) != 0;
    // Settle (first moves may stick at a limit), then record one cycle.
    for (int k = 0; k < _iOps; ++k)
        _op(k);
    ClearJournals();
    for (int k = 0; k < _iOps; ++k)
        _op(k);
    std::vector<CLS_Replay> vecReplays;
    for (const FakeCall& call : TakeJournal())
        vecReplays.emplace_back(call);
    _state.counters["fake_calls"] = static_cast<double>(vecReplays.size()) / _iOps;

    long long llIterations = 0;
    const long long llAllocBefore = g_llAllocations.load();
    for (auto _ : _state) {
        if (blBare) {
            for (CLS_Replay& replay : vecReplays)
                replay();
        } else {
            for (int k = 0; k < _iOps; ++k)
                _op(k);
        }
        if (++llIterations % JOURNAL_CLEAR_EVERY == 0)
            ClearJournals();
    }
    const long long llAllocs = g_llAllocations.load() - llAllocBefore;
    ClearJournals();
    _state.counters["ops"] = _iOps;
    _state.counters["allocs"] = llIterations ? static_cast<double>(llAllocs) / llIterations / _iOps : 0.0;
    _state.SetItemsProcessed(llIterations * _iOps);
}

// A player with the given views for the duration of a benchmark. Drawing is off (the outlines are
// still kept up to date, in the given draw type): the timed calls must not compete with the 40 ms
// draw thread.
class CLS_PlayerScope {
public:
    explicit CLS_PlayerScope(const QMap<int, QVector<void*>>& _qmapWindows,
                             n_DrawType _eType = n_DrawType_Rect) {
        ResetFakes();
        if (_eType == n_DrawType_Fec)
            ScriptLargestOutline();
        m_iId = CreatePlayer(_qmapWindows, _eType);
    }
    ~CLS_PlayerScope() { CLS_FishPlayer::GetInstance()->FishPlayer_DeleteAllPlayer(m_iId); }
    int Id() const { return m_iId; }

private:
    int m_iId = -1;
};

constexpr STRUCT_FishWindowRect RECT{640, 360};

void BM_PutStreamToPlayer(benchmark::State& _state) {
    CLS_PlayerScope player(PtzWindows(1));
    std::vector<unsigned char> vecPacket(4096, 0x5a);
    Run(_state, 1, [&](int) {
        benchmark::DoNotOptimize(CLS_FishPlayer::GetInstance()->FishPlayer_PutStreamToPlayer(
            player.Id(), 0, vecPacket.data(), static_cast<int>(vecPacket.size())));
    });
}

// PTZCtl: the command, then its opposite.
void BM_PTZCtl(benchmark::State& _state, n_PTZCtlCmd _eCmd, n_PTZCtlCmd _eOpposite, n_DrawType _eType) {
    CLS_PlayerScope player(PtzWindows(1), _eType);
    Run(_state, 2, [&](int k) {
        benchmark::DoNotOptimize(CLS_FishPlayer::GetInstance()->FishPlayer_PTZCtl(
            player.Id(), 0, STRUCT_CtlParam{100, 100, 500}, k == 0 ? _eCmd : _eOpposite));
    });
}

void BM_PTZWindowCtl(benchmark::State& _state, n_CtlCmd _eCmd) {
    CLS_PlayerScope player(PtzWindows(1));
    Run(_state, 2, [&](int k) {
        const STRUCT_CtlParam tParam = _eCmd == n_CtlCmd_Move ? STRUCT_CtlParam{k ? 300 : 340, 180, 0}
                                                              : STRUCT_CtlParam{320, 180, k ? 1 : -1};
        benchmark::DoNotOptimize(
            CLS_FishPlayer::GetInstance()->FishPlayer_PTZWindowCtl(player.Id(), 0, tParam, _eCmd, RECT));
    });
}

void BM_DrawWindowCtl(benchmark::State& _state, n_CtlCmd _eCmd) {
    CLS_PlayerScope player(PtzWindows(1));
    Run(_state, 2, [&](int k) {
        const STRUCT_CtlPointParam tPoint =
            k ? STRUCT_CtlPointParam{300, 180, 340, 200} : STRUCT_CtlPointParam{340, 200, 300, 180};
        benchmark::DoNotOptimize(
            CLS_FishPlayer::GetInstance()->FishPlayer_DrawWindowCtl(player.Id(), 0, tPoint, _eCmd, RECT));
    });
}

void BM_CorrectWindowCtl(benchmark::State& _state, int _iType, n_CtlCmd _eCmd) {
    CLS_PlayerScope player(EveryViewWindows());
    Run(_state, 2, [&](int k) {
        const STRUCT_CtlParam tParam = _eCmd == n_CtlCmd_Move ? STRUCT_CtlParam{k ? 300 : 340, 180, 0}
                                                              : STRUCT_CtlParam{320, 180, k ? 1 : -1};
        benchmark::DoNotOptimize(CLS_FishPlayer::GetInstance()->FishPlayer_CorrectWindowCtl(
            player.Id(), _iType, tParam, _eCmd, RECT));
    });
}

void BM_CreateDeletePlayer(benchmark::State& _state) {
    ResetFakes();
    const QMap<int, QVector<void*>> qmapWindows = EveryViewWindows();
    Run(_state, 1, [&](int) {
        const int iId = CreatePlayer(qmapWindows);
        benchmark::DoNotOptimize(CLS_FishPlayer::GetInstance()->FishPlayer_DeleteAllPlayer(iId));
    });
}

// The overlay callback: a client that looks at every point.
std::atomic<long long> g_llOverlayPoints{0};
int OverlayCallback(int, int, FishDrawData _data) {
    long long ll = 0;
    for (const auto& outline : _data)
        for (const auto& line : outline)
            ll += line.size();
    g_llOverlayPoints.fetch_add(ll, std::memory_order_relaxed);
    return 0;
}

// One overlay pass (CLS_MainPlayer::DrawCalculate) over _state.range(1) PTZ views.
void BM_OverlayPass(benchmark::State& _state, n_DrawType _eType) {
    ResetFakes();
    if (_eType == n_DrawType_Fec)
        ScriptLargestOutline();
    const int iViews = static_cast<int>(_state.range(1));
    CLS_MainPlayer player;
    STRUCT_Header tHeader{{12, 1920, 1080}};
    int iId = -1;
    QMap<int, QVector<int>> qmapIds;
    if (player.CreateMainPlayer(STRUCT_FishEyeParam{2, 0, 0}, Window(0), 0,
                                reinterpret_cast<unsigned char*>(&tHeader), 12, &iId, 0, true,
                                osd_TLDCSet{}) != 0 ||
        player.CreateSubPlayers(STRUCT_FishEyeParam{2, 0, 0}, iId, PtzWindows(iViews), qmapIds,
                                STRUCT_FishDrawParam{0, _eType}, 0) != 0 ||
        player.RegisterDrawCallback(&OverlayCallback) != 0) {
        std::fprintf(stderr, "bench_overhead: overlay player set-up failed\n");
        std::abort();
    }
    const long long llPointsBefore = g_llOverlayPoints.load();
    player.DrawCalculate();
    _state.counters["points"] = static_cast<double>(g_llOverlayPoints.load() - llPointsBefore);
    Run(_state, 1, [&](int) { benchmark::DoNotOptimize(player.DrawCalculate()); });
    player.DeleteAllPlayer();
}

void Variants(benchmark::internal::Benchmark* _b) {
    _b->ArgName("bare")->Arg(0)->Arg(1);
}

void OverlayVariants(benchmark::internal::Benchmark* _b) {
    _b->ArgNames({"bare", "views"});
    for (int iViews : {1, 4, 8})
        for (int iBare : {0, 1})
            _b->Args({iBare, iViews});
}

} // namespace

BENCHMARK(BM_PutStreamToPlayer)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, Up, n_PTZCtlCmd_Up, n_PTZCtlCmd_Down, n_DrawType_Rect)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, Down, n_PTZCtlCmd_Down, n_PTZCtlCmd_Up, n_DrawType_Rect)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, Left, n_PTZCtlCmd_Left, n_PTZCtlCmd_Right, n_DrawType_Rect)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, Right, n_PTZCtlCmd_Right, n_PTZCtlCmd_Left, n_DrawType_Rect)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, LeftUp, n_PTZCtlCmd_LeftUp, n_PTZCtlCmd_RightDown, n_DrawType_Rect)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, RightUp, n_PTZCtlCmd_RightUp, n_PTZCtlCmd_LeftDown, n_DrawType_Rect)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, LeftDown, n_PTZCtlCmd_LeftDown, n_PTZCtlCmd_RightUp, n_DrawType_Rect)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, RightDown, n_PTZCtlCmd_RightDown, n_PTZCtlCmd_LeftUp, n_DrawType_Rect)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, ZoomDec, n_PTZCtlCmd_ZoomDec, n_PTZCtlCmd_ZoomInc, n_DrawType_Rect)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZCtl, ZoomInc, n_PTZCtlCmd_ZoomInc, n_PTZCtlCmd_ZoomDec, n_DrawType_Rect)
    ->Apply(Variants);
// A move that rebuilds the largest curved outline.
BENCHMARK_CAPTURE(BM_PTZCtl, RightCurve, n_PTZCtlCmd_Right, n_PTZCtlCmd_Left, n_DrawType_Fec)
    ->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZWindowCtl, Move, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_PTZWindowCtl, Zoom, n_CtlCmd_Zoom)->Apply(Variants);
BENCHMARK_CAPTURE(BM_DrawWindowCtl, Move, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_DrawWindowCtl, Zoom, n_CtlCmd_Zoom)->Apply(Variants);
BENCHMARK_CAPTURE(BM_CorrectWindowCtl, PtzMove, CORRECT_TYPE_PTZ, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_CorrectWindowCtl, PtzZoom, CORRECT_TYPE_PTZ, n_CtlCmd_Zoom)->Apply(Variants);
BENCHMARK_CAPTURE(BM_CorrectWindowCtl, 180Move, CORRECT_TYPE_180, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_CorrectWindowCtl, 360Move, CORRECT_TYPE_360, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_CorrectWindowCtl, LatMove, CORRECT_TYPE_LAT, n_CtlCmd_Move)->Apply(Variants);
BENCHMARK_CAPTURE(BM_OverlayPass, Rect, n_DrawType_Rect)->Apply(OverlayVariants);
BENCHMARK_CAPTURE(BM_OverlayPass, Curve, n_DrawType_Fec)->Apply(OverlayVariants);
BENCHMARK(BM_CreateDeletePlayer)->Apply(Variants);

int main(int _argc, char** _argv) {
    if (!CLS_ZebPlayer_SDK::LoadLib("Korvane.dll") || CLS_ZebAlgoFcu::LoadLib() != 0 || !Engine() ||
        !Algo()) {
        std::fprintf(stderr, "bench_overhead: run with the fakes on LD_LIBRARY_PATH\n");
        return 1;
    }
    // The library logs every refused call and the draw threads of views created with drawing off;
    // the benchmark's output stays readable without them.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    CLS_FishPlayer::GetInstance();
    benchmark::Initialize(&_argc, _argv);
    if (benchmark::ReportUnrecognizedArguments(_argc, _argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
