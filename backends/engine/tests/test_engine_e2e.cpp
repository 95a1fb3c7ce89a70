// The fishplayer library on the open engine and the open correction algorithm, used through
// CLS_FishPlayer as a client does: from the stream header to pictures in the views' surfaces.
#include "FacadeTest.h"
#include "StreamMaker.h"
#include "dewarp/Dewarp.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int WIDTH = 320;
constexpr int HEIGHT = 240;
constexpr int FRAMES = 12;

struct Bytes32 {
    unsigned char m_ac[32];
    int Int(size_t _uOffset) const {
        int iValue = 0;
        std::memcpy(&iValue, m_ac + _uOffset, sizeof(iValue));
        return iValue;
    }
};

// The engine's own functions, found in the engine that the library loaded.
struct Engine {
    void* (*m_pfCreateSurface)(int, int) = nullptr;
    int (*m_pfDestroySurface)(void*) = nullptr;
    int (*m_pfReadSurface)(void*, unsigned char*, int) = nullptr;
    int (*m_pfGetPara)(int, int, int, void*, int) = nullptr;
    int (*m_pfGetVideoParam)(int, void*, int) = nullptr;
};

template <typename T> void Resolve(void* _hEngine, const char* _pcName, T& _pf) {
    _pf = reinterpret_cast<T>(dlsym(_hEngine, _pcName));
}

class EngineEndToEnd : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        ASSERT_EQ(FakeEngine(), nullptr) << "the fake engine was loaded instead of the open one";
        ASSERT_EQ(FakeAlgo(), nullptr) << "the fake algorithm was loaded instead of the open one";
        m_hEngine = dlopen("Korvane.dll", RTLD_NOW | RTLD_NOLOAD);
        ASSERT_NE(m_hEngine, nullptr);
        Resolve(m_hEngine, "KW_Ext_CreateSurface", m_tEngine.m_pfCreateSurface);
        Resolve(m_hEngine, "KW_Ext_DestroySurface", m_tEngine.m_pfDestroySurface);
        Resolve(m_hEngine, "KW_Ext_ReadSurface", m_tEngine.m_pfReadSurface);
        Resolve(m_hEngine, "KW_GetFishEyeCorrectPara", m_tEngine.m_pfGetPara);
        Resolve(m_hEngine, "KW_GetVideoParam", m_tEngine.m_pfGetVideoParam);
        ASSERT_TRUE(m_tEngine.m_pfCreateSurface && m_tEngine.m_pfDestroySurface &&
                    m_tEngine.m_pfReadSurface && m_tEngine.m_pfGetPara && m_tEngine.m_pfGetVideoParam);
    }

    void TearDown() override {
        if (m_iId >= 0)
            EXPECT_EQ(m_pFish->FishPlayer_DeleteAllPlayer(m_iId), 0);
        for (void* hSurface : m_vecSurfaces)
            m_tEngine.m_pfDestroySurface(hSurface);
        if (m_hEngine)
            dlclose(m_hEngine);
        // Nothing the library asked of the engine or the algorithm failed. (The views without
        // an engine correction and the missing overlay callback log lines of their own.)
        for (const std::string& strLine : TestLog::Lines())
            EXPECT_TRUE(strLine.find("CLS_ZebPlayer_SDK") == std::string::npos &&
                        strLine.find("ZebAlgo") == std::string::npos &&
                        strLine.find("KW_") == std::string::npos)
                << strLine;
        FacadeTest::TearDown();
    }

    void* Surface(int _iWidth, int _iHeight) {
        void* hSurface = m_tEngine.m_pfCreateSurface(_iWidth, _iHeight);
        EXPECT_NE(hSurface, nullptr);
        m_vecSurfaces.push_back(hSurface);
        return hSurface;
    }

    // Pictures rendered into a surface so far; *_puBright receives its count of bright pixels.
    int Rendered(void* _hSurface, int _iWidth, int _iHeight, size_t* _puBright = nullptr) {
        std::vector<unsigned char> vecRgb(static_cast<size_t>(_iWidth) * _iHeight * 3);
        const int iRendered =
            m_tEngine.m_pfReadSurface(_hSurface, vecRgb.data(), static_cast<int>(vecRgb.size()));
        if (_puBright) {
            *_puBright = 0;
            for (size_t i = 0; i < vecRgb.size(); i += 3)
                *_puBright += (vecRgb[i] + vecRgb[i + 1] + vecRgb[i + 2] > 300) ? 1 : 0;
        }
        return iRendered;
    }

    template <typename Pred> static bool WaitFor(Pred _pred) {
        const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < tDeadline) {
            if (_pred())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return _pred();
    }

    Bytes32 PtzRecord(int _iCorrectId) {
        Bytes32 tRecord{};
        EXPECT_EQ(m_tEngine.m_pfGetPara(m_iId, _iCorrectId, 1, tRecord.m_ac, 32), 0);
        return tRecord;
    }

    void* m_hEngine = nullptr;
    Engine m_tEngine;
    std::vector<void*> m_vecSurfaces;
    int m_iId = -1;
};

} // namespace

TEST_F(EngineEndToEnd, FromStreamHeaderToRenderedViews) {
    const std::vector<std::uint8_t> vecStream =
        MakeStream("libx264", WIDTH, HEIGHT, FRAMES, Disc{160, 120, 100});
    ASSERT_FALSE(vecStream.empty());
    const int iMainW = WIDTH;
    const int iViewW = 96;
    const int iViewH = 64;
    void* hMain = Surface(iMainW, HEIGHT);
    QMap<int, QVector<void*>> qmapWindows;
    for (int iType : {0, CORRECT_TYPE_180, CORRECT_TYPE_360, CORRECT_TYPE_LAT, CORRECT_TYPE_FISHEYE})
        qmapWindows[iType] = {Surface(iViewW, iViewH)};
    qmapWindows[CORRECT_TYPE_PTZ] = {Surface(iViewW, iViewH), Surface(iViewW, iViewH)};

    // The area comes as user data on play index 0: the first engine player.
    m_pFish->SetPlayIndex(0);
    StreamHeader tHeader{{12, WIDTH, HEIGHT}};
    QMap<int, QVector<int>> qmapIds;
    ASSERT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(
                  m_tParam, hMain, qmapWindows, 0, reinterpret_cast<unsigned char*>(&tHeader), 12, &m_iId,
                  qmapIds, false, m_tTLDSet, {1, n_DrawType_Fec}),
              0);
    ASSERT_EQ(m_iId, 0);
    ASSERT_EQ(qmapIds[CORRECT_TYPE_PTZ].size(), 2);
    EXPECT_FALSE(m_pFish->GetIsInitUserData(m_iId));

    for (size_t i = 0; i < vecStream.size(); i += 1000)
        ASSERT_EQ(m_pFish->FishPlayer_PutStreamToPlayer(
                      m_iId, 0, const_cast<unsigned char*>(vecStream.data()) + i,
                      static_cast<int>(std::min<size_t>(1000, vecStream.size() - i))),
                  0);
    // Every picture decoded, the area found and applied.
    struct {
        int m_iSize = 24, m_iWidth = 0, m_iHeight = 0, m_iCodec = 0;
        long long m_llFrames = 0;
    } tVideo;
    EXPECT_TRUE(WaitFor([&] {
        return m_tEngine.m_pfGetVideoParam(m_iId, &tVideo, 24) == 0 && tVideo.m_llFrames >= FRAMES - 1;
    }));
    EXPECT_EQ(tVideo.m_iWidth, WIDTH);
    EXPECT_EQ(tVideo.m_iHeight, HEIGHT);
    EXPECT_TRUE(WaitFor([&] { return m_pFish->GetIsInitUserData(m_iId); }));

    // The main window and every view that the engine corrects show the picture.
    size_t uBright = 0;
    EXPECT_GE(Rendered(hMain, iMainW, HEIGHT, &uBright), FRAMES - 1);
    EXPECT_GT(uBright, static_cast<size_t>(iMainW * HEIGHT / 10));
    for (int iType : {CORRECT_TYPE_PTZ, CORRECT_TYPE_180, CORRECT_TYPE_360, CORRECT_TYPE_LAT}) {
        for (void* hView : qmapWindows[iType]) {
            EXPECT_GE(Rendered(hView, iViewW, iViewH, &uBright), FRAMES - 1) << iType;
            EXPECT_GT(uBright, static_cast<size_t>(iViewW * iViewH / 10)) << iType;
        }
    }
    // The source and whole-fisheye views open no correction of the engine: their windows stay
    // the client's.
    for (int iType : {0, CORRECT_TYPE_FISHEYE})
        EXPECT_EQ(Rendered(qmapWindows[iType][0], iViewW, iViewH), 0) << iType;
}

TEST_F(EngineEndToEnd, APtzMoveChangesTheRecordTheEngineHolds) {
    QMap<int, QVector<void*>> qmapWindows;
    qmapWindows[CORRECT_TYPE_PTZ] = {Surface(64, 48)};
    void* hMain = Surface(64, 48);
    StreamHeader tHeader{{12, WIDTH, HEIGHT}};
    QMap<int, QVector<int>> qmapIds;
    ASSERT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(
                  m_tParam, hMain, qmapWindows, 0, reinterpret_cast<unsigned char*>(&tHeader), 12, &m_iId,
                  qmapIds, false, m_tTLDSet, {0, n_DrawType_Rect}),
              0);
    ASSERT_EQ(qmapIds[CORRECT_TYPE_PTZ].size(), 1);
    const int iPtz = qmapIds[CORRECT_TYPE_PTZ][0];
    const Bytes32 tBefore = PtzRecord(iPtz);
    EXPECT_EQ(tBefore.Int(16), 10000) << "the view starts at zoom 1";

    EXPECT_GE(m_pFish->FishPlayer_PTZCtl(m_iId, 0, {600, 400, 0}, n_PTZCtlCmd_RightDown), 0);
    const Bytes32 tAfter = PtzRecord(iPtz);
    EXPECT_TRUE(tAfter.Int(8) != tBefore.Int(8) || tAfter.Int(12) != tBefore.Int(12))
        << tBefore.Int(8) << "," << tBefore.Int(12) << " stayed";
    EXPECT_EQ(tAfter.Int(16), tBefore.Int(16));

    EXPECT_GE(m_pFish->FishPlayer_PTZCtl(m_iId, 0, {0, 0, 5000}, n_PTZCtlCmd_ZoomInc), 0);
    EXPECT_GT(PtzRecord(iPtz).Int(16), tAfter.Int(16));
    // The engine's own bytes are carried through unchanged.
    for (size_t uOffset : {0u, 4u, 20u, 24u, 28u})
        EXPECT_EQ(PtzRecord(iPtz).Int(uOffset), tBefore.Int(uOffset)) << uOffset;
}

namespace {

double Psnr(const std::vector<unsigned char>& _vecA, const std::vector<unsigned char>& _vecB) {
    double dSum = 0.0;
    for (size_t i = 0; i < _vecA.size() && i < _vecB.size(); ++i) {
        const double dDiff = static_cast<double>(_vecA[i]) - _vecB[i];
        dSum += dDiff * dDiff;
    }
    const double dMse = dSum / static_cast<double>(std::max<size_t>(_vecA.size(), 1));
    return dMse == 0.0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / dMse);
}

} // namespace

TEST_F(EngineEndToEnd, APtzMoveChangesTheRenderedPictureAsTheGeometryPredicts) {
    const std::vector<std::uint8_t> vecStream =
        MakeStream("libx264", WIDTH, HEIGHT, FRAMES, Disc{160, 120, 100});
    ASSERT_FALSE(vecStream.empty());
    constexpr int VIEW_W = 96;
    constexpr int VIEW_H = 64;
    void* hMain = Surface(WIDTH, HEIGHT);
    void* hPtz = Surface(VIEW_W, VIEW_H);
    StreamHeader tHeader{{12, WIDTH, HEIGHT}};
    QMap<int, QVector<int>> qmapIds;
    ASSERT_EQ(m_pFish->FishPlayer_CreatePlayerFromStream(m_tParam, hMain, {{CORRECT_TYPE_PTZ, {hPtz}}}, 0,
                                                         reinterpret_cast<unsigned char*>(&tHeader), 12,
                                                         &m_iId, qmapIds, false, m_tTLDSet,
                                                         {0, n_DrawType_Rect}),
              0);
    const int iPtz = qmapIds[CORRECT_TYPE_PTZ][0];

    // Feeds the whole stream and waits until the main window and the view show the same, last
    // decodable picture (the engine renders both from each picture; the last one waits for more).
    auto feedAndSettle = [&](int _iRenderedBefore) {
        for (size_t i = 0; i < vecStream.size(); i += 1000)
            m_pFish->FishPlayer_PutStreamToPlayer(
                m_iId, 0, const_cast<unsigned char*>(vecStream.data()) + i,
                static_cast<int>(std::min<size_t>(1000, vecStream.size() - i)));
        int iLast = -1;
        return WaitFor([&] {
            const int iMain = Rendered(hMain, WIDTH, HEIGHT);
            const int iView = Rendered(hPtz, VIEW_W, VIEW_H);
            const bool blSettled = iMain == iView && iMain >= _iRenderedBefore + FRAMES - 1 && iMain == iLast;
            iLast = iMain;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return blSettled;
        });
    };
    auto read = [&](void* _hSurface, int _iWidth, int _iHeight) {
        std::vector<unsigned char> vecRgb(static_cast<size_t>(_iWidth) * _iHeight * 3);
        m_tEngine.m_pfReadSurface(_hSurface, vecRgb.data(), static_cast<int>(vecRgb.size()));
        return vecRgb;
    };
    ASSERT_TRUE(feedAndSettle(0));
    const std::vector<unsigned char> vecBefore = read(hPtz, VIEW_W, VIEW_H);

    ASSERT_GE(m_pFish->FishPlayer_PTZCtl(m_iId, 0, {1500, 800, 0}, n_PTZCtlCmd_Right), 0);
    ASSERT_TRUE(feedAndSettle(Rendered(hMain, WIDTH, HEIGHT)));
    const std::vector<unsigned char> vecSource = read(hMain, WIDTH, HEIGHT);
    const std::vector<unsigned char> vecAfter = read(hPtz, VIEW_W, VIEW_H);

    // The view the geometry predicts for the position and zoom the engine now holds, computed from
    // the picture the main window shows (the whole picture is the fisheye area here: correction was
    // switched on before any area arrived).
    const Bytes32 tRecord = PtzRecord(iPtz);
    fisheye::STRUCT_ViewParams tView;
    tView.m_eKind = fisheye::n_ViewKind::Ptz;
    tView.m_eMount = fisheye::n_Mount::Ceiling; // mounting mode 2
    tView.m_iPtzX = tRecord.Int(8);
    tView.m_iPtzY = tRecord.Int(12);
    tView.m_iPtzZoom = tRecord.Int(16);
    tView.m_iWidth = VIEW_W;
    tView.m_iHeight = VIEW_H;
    fisheye::CLS_RemapTable table;
    ASSERT_TRUE(table.Update(tView, WIDTH, HEIGHT));
    std::vector<unsigned char> vecPredicted(vecAfter.size());
    fisheye::STRUCT_Image tSrc{const_cast<unsigned char*>(vecSource.data()), WIDTH, HEIGHT, 3, WIDTH * 3};
    fisheye::STRUCT_Image tDst{vecPredicted.data(), VIEW_W, VIEW_H, 3, VIEW_W * 3};
    ASSERT_TRUE(table.Apply(tSrc, tDst, 1));

    EXPECT_GE(Psnr(vecPredicted, vecAfter), 40.0);
    EXPECT_LT(Psnr(vecBefore, vecAfter), Psnr(vecPredicted, vecAfter) - 10.0) << "the view did not move";
}
