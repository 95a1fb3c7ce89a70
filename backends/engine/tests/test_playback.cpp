// Players at work: decoding each codec from packets of any size, corrupt and truncated streams,
// deletion while decoding, the fisheye area as user data, corrections and their parameters,
// rendering into surfaces, and captured pictures.
#include "EngineTest.h"
#include "StreamDecoder.h"
#include "ViewRenderer.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <random>
#include <string>

namespace {

constexpr int FRAMES = 12;

// Each stream is made once per process.
std::vector<std::uint8_t>& Stream(const std::string& _strEncoder, Disc _tDisc = TEST_DISC) {
    static std::map<std::string, std::vector<std::uint8_t>> s_mapStreams;
    const std::string strKey = _strEncoder + "/" + std::to_string(_tDisc.m_iCenterX) + "/" +
                               std::to_string(_tDisc.m_iCenterY) + "/" + std::to_string(_tDisc.m_iRadius);
    auto it = s_mapStreams.find(strKey);
    if (it == s_mapStreams.end())
        it = s_mapStreams.emplace(strKey, MakeStream(_strEncoder, TEST_WIDTH, TEST_HEIGHT, FRAMES, _tDisc))
                 .first;
    return it->second;
}

std::string TempPath(const std::string& _strName) {
    return ::testing::TempDir() + "korvane_" + _strName;
}

std::vector<std::uint8_t> ReadFile(const std::string& _strPath) {
    std::ifstream tFile(_strPath, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(tFile), std::istreambuf_iterator<char>());
}

// ---- user data sink ----

struct UserDataCall {
    int m_iPlayIndex;
    int m_iType;
    std::vector<std::uint8_t> m_vecPayload;
    void* m_pUser;
};

std::mutex g_mutex;
std::vector<UserDataCall> g_vecUserData;

void UserDataSink(int _iPlayIndex, int _iType, const unsigned char* _pcData, int _iLength, void* _pUser) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_vecUserData.push_back(
        {_iPlayIndex, _iType, std::vector<std::uint8_t>(_pcData, _pcData + std::max(_iLength, 0)), _pUser});
}

std::vector<UserDataCall> UserData() {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_vecUserData;
}

void Subscribe(int _iPlayIndex, void* _pUser) {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        g_vecUserData.clear();
    }
    Bytes tRecord =
        Bytes(24).At<int>(0, 24).At<void*>(8, reinterpret_cast<void*>(UserDataSink)).At<void*>(16, _pUser);
    ASSERT_EQ(KW_PlayerControl(_iPlayIndex, 4, tRecord.Data(), 24, 0), 0);
}

void Unsubscribe(int _iPlayIndex) {
    Bytes tRecord = Bytes(24).At<int>(0, 24);
    EXPECT_EQ(KW_PlayerControl(_iPlayIndex, 4, tRecord.Data(), 24, 0), 0);
}

// The area of a disc as the engine reports it, 0 to 10000.
struct ExpectedArea {
    double m_dLeft, m_dTop, m_dRight, m_dBottom;
};

ExpectedArea AreaOf(Disc _tDisc) {
    return {(_tDisc.m_iCenterX - _tDisc.m_iRadius) * 10000.0 / TEST_WIDTH,
            (_tDisc.m_iCenterY - _tDisc.m_iRadius) * 10000.0 / TEST_HEIGHT,
            (_tDisc.m_iCenterX + _tDisc.m_iRadius + 1) * 10000.0 / TEST_WIDTH,
            (_tDisc.m_iCenterY + _tDisc.m_iRadius + 1) * 10000.0 / TEST_HEIGHT};
}

void ExpectAreaPayload(const UserDataCall& _tCall, int _iPlayIndex, void* _pUser, ExpectedArea _tArea) {
    EXPECT_EQ(_tCall.m_iPlayIndex, _iPlayIndex);
    EXPECT_EQ(_tCall.m_iType, 9);
    EXPECT_EQ(_tCall.m_pUser, _pUser);
    ASSERT_EQ(_tCall.m_vecPayload.size(), 136u);
    Bytes tPayload(136);
    tPayload.m_vec = _tCall.m_vecPayload;
    // Three pixels of slack for the encoder's blurred rim.
    EXPECT_NEAR(tPayload.Get<double>(8), _tArea.m_dLeft, 3 * 10000.0 / TEST_WIDTH);
    EXPECT_NEAR(tPayload.Get<double>(16), _tArea.m_dTop, 3 * 10000.0 / TEST_HEIGHT);
    EXPECT_NEAR(tPayload.Get<double>(24), _tArea.m_dRight, 3 * 10000.0 / TEST_WIDTH);
    EXPECT_NEAR(tPayload.Get<double>(32), _tArea.m_dBottom, 3 * 10000.0 / TEST_HEIGHT);
    for (size_t i = 0; i < 136; ++i)
        if (i < 8 || i >= 40)
            EXPECT_EQ(_tCall.m_vecPayload[i], 0) << "byte " << i;
}

template <typename Pred> bool WaitFor(Pred _pred) {
    const auto tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < tDeadline) {
        if (_pred())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return _pred();
}

// ---- correction callback sink ----

std::atomic<int> g_iCorrectCalls{0};
std::atomic<int> g_iLastCorrectId{-1};
void* g_pLastCorrectUser = nullptr;

void CorrectSink(int _iCorrectId, void* _pUser) {
    g_iLastCorrectId = _iCorrectId;
    g_pLastCorrectUser = _pUser;
    ++g_iCorrectCalls;
}

// Deletes the player whose id the user pointer holds, from the player's own thread.
std::atomic<int> g_iSelfDeleteResult{1};
void DeleteFromCallBack(int, void* _pUser) {
    g_iSelfDeleteResult = KW_DeletePlayer(*static_cast<int*>(_pUser));
}

} // namespace

// ---- decoding ----

class EngineDecoding : public EngineTest,
                       public ::testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(EngineDecoding, EveryPictureOfTheStreamIsDecoded) {
    std::vector<std::uint8_t>& vecStream = Stream(GetParam().first);
    ASSERT_FALSE(vecStream.empty()) << "encoder " << GetParam().first << " missing";
    void* hMain = NewSurface(TEST_WIDTH, TEST_HEIGHT);
    const int iId = NewPlayer(hMain);
    Feed(iId, vecStream);
    // The parser hands a picture on when the next one starts: the last may stay behind.
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    const KW_VideoParam tParam = VideoParam(iId);
    EXPECT_EQ(tParam.m_iWidth, TEST_WIDTH);
    EXPECT_EQ(tParam.m_iHeight, TEST_HEIGHT);
    EXPECT_EQ(tParam.m_iCodec, GetParam().second);
    EXPECT_LE(tParam.m_llFrames, FRAMES);
    // The main window shows the picture: the disc is bright, a corner dark.
    int iRendered = 0;
    const std::vector<std::uint8_t> vecRgb = Read(hMain, &iRendered);
    EXPECT_GE(iRendered, FRAMES - 1);
    const size_t uCenter = (static_cast<size_t>(120) * TEST_WIDTH + 160) * 3;
    const size_t uRimX = 160 + 100 - 2; // bright in every picture: the bars are at least 160
    EXPECT_GT(vecRgb[uCenter], 120);
    EXPECT_GT(vecRgb[(static_cast<size_t>(120) * TEST_WIDTH + uRimX) * 3], 120);
    EXPECT_LT(vecRgb[0] + vecRgb[1] + vecRgb[2], 30);
}

TEST_P(EngineDecoding, PacketsOfRandomSizes) {
    std::vector<std::uint8_t>& vecStream = Stream(GetParam().first);
    ASSERT_FALSE(vecStream.empty());
    const int iId = NewPlayer();
    std::mt19937 tRandom(7);
    for (size_t i = 0; i < vecStream.size();) {
        const size_t uSize = std::min<size_t>(1 + tRandom() % 700, vecStream.size() - i);
        ASSERT_EQ(KW_PutStreamToPlayer(iId, vecStream.data() + i, static_cast<int>(uSize)), 0);
        i += uSize;
    }
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    EXPECT_EQ(VideoParam(iId).m_iCodec, GetParam().second);
}

TEST_P(EngineDecoding, GarbageBeforeTheStreamIsSkipped) {
    std::vector<std::uint8_t> vecStream(1000, 0x5A);
    vecStream[10] = 0; // zeros that start no unit
    vecStream[11] = 0;
    const std::vector<std::uint8_t>& vecReal = Stream(GetParam().first);
    vecStream.insert(vecStream.end(), vecReal.begin(), vecReal.end());
    const int iId = NewPlayer();
    Feed(iId, vecStream, 333);
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    EXPECT_EQ(VideoParam(iId).m_iCodec, GetParam().second);
}

TEST_P(EngineDecoding, CorruptPacketsAreDroppedAndDecodingResumes) {
    std::vector<std::uint8_t> vecStream = Stream(GetParam().first);
    ASSERT_FALSE(vecStream.empty());
    // Overwrite a stretch in the middle with noise, keeping the head (the codec's set-up).
    std::mt19937 tRandom(11);
    const size_t uFrom = vecStream.size() / 3;
    for (size_t i = uFrom; i < uFrom + vecStream.size() / 6; ++i)
        vecStream[i] = static_cast<std::uint8_t>(tRandom());
    const int iId = NewPlayer();
    Feed(iId, vecStream, 500);
    const std::int64_t llDamaged = WaitIdle(iId);
    EXPECT_LT(llDamaged, FRAMES) << "the damaged pictures were not all decoded";
    // Then the intact stream again: the decoder is back in step.
    Feed(iId, Stream(GetParam().first), 500);
    EXPECT_GE(WaitFrames(iId, llDamaged + FRAMES - 1), llDamaged + FRAMES - 1);
    EXPECT_EQ(VideoParam(iId).m_iWidth, TEST_WIDTH);
}

TEST_P(EngineDecoding, TruncatedStreamsDecodeWhatTheyHold) {
    std::vector<std::uint8_t> vecStream = Stream(GetParam().first);
    vecStream.resize(vecStream.size() / 2);
    const int iId = NewPlayer();
    Feed(iId, vecStream, 1000);
    const std::int64_t llHalf = WaitIdle(iId);
    EXPECT_GE(llHalf, FRAMES / 2 - 2);
    EXPECT_LT(llHalf, FRAMES);
    // A truncated picture followed by a complete stream.
    Feed(iId, Stream(GetParam().first), 1000);
    EXPECT_GE(WaitFrames(iId, llHalf + FRAMES - 1), llHalf + FRAMES - 1);
    const KW_VideoParam tParam = VideoParam(iId);
    EXPECT_EQ(tParam.m_iWidth, TEST_WIDTH);
    EXPECT_EQ(tParam.m_iHeight, TEST_HEIGHT);
}

INSTANTIATE_TEST_SUITE_P(Codecs, EngineDecoding,
                         ::testing::Values(std::make_pair("libx264", KW_CODEC_H264),
                                           std::make_pair("libx265", KW_CODEC_H265),
                                           std::make_pair("mjpeg", KW_CODEC_MJPEG)),
                         [](const ::testing::TestParamInfo<std::pair<const char*, int>>& _tInfo) {
                             return std::string(_tInfo.param.first);
                         });

using EngineStreams = EngineTest;

// Picture widths that are no multiple of the converter's block size: its vector code writes past
// the end of a row, which once overran the last row of the picture into the heap.
TEST_F(EngineStreams, OddPictureWidthsDecodeSafely) {
    for (int iWidth : {280, 296, 322}) {
        std::vector<std::uint8_t> vecStream = MakeStream("libx264", iWidth, 98, 4, Disc{iWidth / 2, 49, 40});
        ASSERT_FALSE(vecStream.empty());
        const int iId = NewPlayer();
        Feed(iId, vecStream, 700);
        EXPECT_GE(WaitFrames(iId, 3), 3) << iWidth;
        EXPECT_EQ(VideoParam(iId).m_iWidth, iWidth);
    }
}

TEST_F(EngineStreams, NoiseAloneDecodesNothing) {
    std::mt19937 tRandom(3);
    std::vector<std::uint8_t> vecNoise(200000);
    for (std::uint8_t& c : vecNoise)
        c = static_cast<std::uint8_t>(tRandom() | 0x01); // never a zero: no start code
    const int iId = NewPlayer();
    Feed(iId, vecNoise, 4096);
    // Then a real stream still starts: the noise was skipped.
    Feed(iId, Stream("mjpeg"));
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    EXPECT_EQ(VideoParam(iId).m_iCodec, KW_CODEC_MJPEG);
}

TEST_F(EngineStreams, AStreamOfTheWrongKindAfterDetectionIsDropped) {
    const int iId = NewPlayer();
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    const std::int64_t llBefore = VideoParam(iId).m_llFrames;
    Feed(iId, Stream("libx264"), 999);
    Feed(iId, Stream("mjpeg"));
    EXPECT_GE(WaitFrames(iId, llBefore + FRAMES - 1), llBefore + FRAMES - 1);
    EXPECT_EQ(VideoParam(iId).m_iCodec, KW_CODEC_MJPEG);
}

// ---- lifecycle ----

using EngineLifecycle = EngineTest;

TEST_F(EngineLifecycle, DeletedWhileDecoding) {
    void* hSurface = NewSurface(TEST_WIDTH, TEST_HEIGHT);
    for (int iRound = 0; iRound < 3; ++iRound) {
        Bytes tRecord = CreateRecord(hSurface);
        const int iId = KW_CreatePlayerForSpecialNeeds(2, tRecord.Data(), 32, 0);
        ASSERT_GE(iId, 0);
        ASSERT_EQ(KW_Play(iId), 0);
        Bytes tSetup = SetupRecord(KW_CORRECT_360, hSurface);
        ASSERT_GE(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 0);
        for (int i = 0; i < 8; ++i)
            Feed(iId, Stream("libx265"), 2000);
        if (iRound > 0)
            WaitFrames(iId, iRound); // deleted in the middle of decoding
        EXPECT_EQ(KW_DeletePlayer(iId), 0);
        EXPECT_EQ(KW_PutStreamToPlayer(iId, Stream("libx265").data(), 10), KW_ERR_UNKNOWN_ID);
    }
}

TEST_F(EngineLifecycle, DeletedFromItsOwnCallBack) {
    static int s_iId = -1;
    s_iId = NewPlayer();
    Bytes tSetup = SetupRecord(KW_CORRECT_180, nullptr);
    const int iCorrect = KW_CreateFishEyeCorrect(s_iId, tSetup.Data(), 88);
    ASSERT_GE(iCorrect, 0);
    g_iSelfDeleteResult = 1;
    ASSERT_EQ(KW_SetFishEyeCorrectCallBack(s_iId, iCorrect, DeleteFromCallBack, &s_iId), 0);
    Feed(s_iId, Stream("mjpeg"));
    EXPECT_TRUE(WaitFor([] { return g_iSelfDeleteResult.load() != 1; }));
    EXPECT_EQ(g_iSelfDeleteResult.load(), 0);
    EXPECT_EQ(KW_Play(s_iId), KW_ERR_UNKNOWN_ID);
    m_vecPlayers.clear();
}

TEST_F(EngineLifecycle, PacketsQueuedBeforePlayAreDecodedAfterIt) {
    const int iId = NewPlayer(nullptr, false);
    Feed(iId, Stream("mjpeg"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(VideoParam(iId).m_llFrames, 0);
    ASSERT_EQ(KW_Play(iId), 0);
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
}

TEST_F(EngineLifecycle, ExportsCalledFromSeveralThreadsAtOnce) {
    void* hMain = NewSurface(64, 48);
    const int iId = NewPlayer(hMain);
    std::atomic<int> iBad{0};
    std::thread tFeeder([&] {
        for (int i = 0; i < 3; ++i)
            if (KW_PutStreamToPlayer(iId, Stream("mjpeg").data(), static_cast<int>(Stream("mjpeg").size())) !=
                0)
                ++iBad;
    });
    std::thread tViews([&] {
        for (int i = 0; i < 40; ++i) {
            void* hView = KW_Ext_CreateSurface(32, 24);
            Bytes tSetup = SetupRecord(KW_CORRECT_PTZ, hView, 5000, 5000, 10000);
            const int iCorrect = KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88);
            Bytes tPtz = Bytes(32).At<int>(8, 1000 + i).At<int>(12, 2000).At<int>(16, 12000);
            Bytes tPanorama = Bytes(8).At<float>(4, static_cast<float>(i));
            if (iCorrect < 0 || KW_SetFishEyeCorrectPara(iId, iCorrect, 1, tPtz.Data(), 32) != 0 ||
                KW_SetFishEyeCorrectPara(iId, iCorrect, 3, tPanorama.Data(), 8) != 0 ||
                KW_SetFishEyeCorrectCallBack(iId, iCorrect, CorrectSink, nullptr) != 0)
                ++iBad;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            if (KW_Ext_DestroySurface(hView) != 0 || KW_DeleteFishEyeCorrect(iId, iCorrect) != 0)
                ++iBad;
        }
    });
    std::thread tClient([&] {
        Bytes tWhole = Bytes(88).At<int>(0, 88).At<int>(20, 10000).At<int>(28, 10000);
        for (int i = 0; i < 40; ++i) {
            int iUser = 0;
            Subscribe(iId, &iUser);
            Unsubscribe(iId);
            if (KW_SetFishEyeCorrectEnable(iId, i % 2, tWhole.Data()) < 0)
                ++iBad;
            const int iCapture = KW_CapturePicture(iId, TempPath("concurrent.ppm").c_str(), KW_CAPTURE_PPM);
            if (iCapture != 0 && iCapture != KW_ERR_NO_PICTURE)
                ++iBad;
        }
    });
    tFeeder.join();
    tViews.join();
    tClient.join();
    EXPECT_EQ(iBad.load(), 0);
    EXPECT_GE(WaitFrames(iId, 3 * FRAMES - 1), 3 * FRAMES - 1);
    std::remove(TempPath("concurrent.ppm").c_str());
}

// ---- user data ----

using EngineUserData = EngineTest;

TEST_F(EngineUserData, TheFisheyeAreaIsDeliveredOnce) {
    const int iId = NewPlayer(nullptr, false);
    int iUser = 0;
    Subscribe(iId, &iUser);
    ASSERT_EQ(KW_Play(iId), 0);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    const std::vector<UserDataCall> vecCalls = UserData();
    ASSERT_EQ(vecCalls.size(), 1u);
    ExpectAreaPayload(vecCalls[0], iId, &iUser, AreaOf(TEST_DISC));
    Unsubscribe(iId);
}

TEST_F(EngineUserData, ALateSubscriberGetsItWithTheNextPicture) {
    const int iId = NewPlayer();
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    int iUser = 0;
    Subscribe(iId, &iUser);
    EXPECT_TRUE(UserData().empty());
    Feed(iId, Stream("mjpeg"));
    ASSERT_TRUE(WaitFor([] { return !UserData().empty(); }));
    ExpectAreaPayload(UserData()[0], iId, &iUser, AreaOf(TEST_DISC));
    Unsubscribe(iId);
}

TEST_F(EngineUserData, AChangedAreaIsDeliveredAgain) {
    const int iId = NewPlayer();
    int iUser = 0;
    Subscribe(iId, &iUser);
    Feed(iId, Stream("mjpeg"));
    ASSERT_TRUE(WaitFor([] { return UserData().size() == 1; }));
    const Disc tMoved{120, 110, 90};
    // The area is looked for in the first pictures and then every 25th.
    for (int i = 0; i < 3; ++i)
        Feed(iId, Stream("mjpeg", tMoved));
    ASSERT_TRUE(WaitFor([] { return UserData().size() == 2; }));
    ExpectAreaPayload(UserData()[1], iId, &iUser, AreaOf(tMoved));
    Unsubscribe(iId);
}

TEST_F(EngineUserData, OtherPlayIndexesAndStoppedSubscriptionsGetNothing) {
    const int iId = NewPlayer();
    int iUser = 0;
    Subscribe(iId + 1, &iUser);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    EXPECT_TRUE(UserData().empty());
    Unsubscribe(iId + 1);

    Subscribe(iId, &iUser);
    Unsubscribe(iId);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, 2 * FRAMES - 1), 2 * FRAMES - 1);
    EXPECT_TRUE(UserData().empty());
}

TEST_F(EngineUserData, ADarkPictureHasNoArea) {
    const int iId = NewPlayer();
    int iUser = 0;
    Subscribe(iId, &iUser);
    Feed(iId, Stream("mjpeg", Disc{0, 0, 0}));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    EXPECT_TRUE(UserData().empty());
    Unsubscribe(iId);
}

// ---- corrections ----

using EngineCorrections = EngineTest;

TEST_F(EngineCorrections, IdsAndParameters) {
    const int iId = NewPlayer();
    Bytes tPtz = SetupRecord(KW_CORRECT_PTZ, nullptr, 3000, 4500, 10000);
    Bytes tPanorama = SetupRecord(KW_CORRECT_360, nullptr);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tPtz.Data(), 88), 0);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tPanorama.Data(), 88), 1);
    // The PTZ record starts at the set-up's position and zoom; the rest is zero.
    Bytes tBuffer(32);
    std::fill(tBuffer.m_vec.begin(), tBuffer.m_vec.end(), 0xEE);
    ASSERT_EQ(KW_GetFishEyeCorrectPara(iId, 0, 1, tBuffer.Data(), 32), 0);
    EXPECT_EQ(tBuffer.m_vec, Bytes(32).At<int>(8, 3000).At<int>(12, 4500).At<int>(16, 10000).m_vec);
    Bytes tPanoramaBuffer(8);
    std::fill(tPanoramaBuffer.m_vec.begin(), tPanoramaBuffer.m_vec.end(), 0xEE);
    ASSERT_EQ(KW_GetFishEyeCorrectPara(iId, 1, 3, tPanoramaBuffer.Data(), 8), 0);
    EXPECT_EQ(tPanoramaBuffer.m_vec, Bytes(8).m_vec);

    // Written records are read back byte for byte, the engine's own bytes included.
    Bytes tNewPtz =
        Bytes(32).At<int>(0, 77).At<int>(8, 6000).At<int>(12, 2500).At<int>(16, 20000).At<int>(28, -5);
    ASSERT_EQ(KW_SetFishEyeCorrectPara(iId, 0, 1, tNewPtz.Data(), 32), 0);
    ASSERT_EQ(KW_GetFishEyeCorrectPara(iId, 0, 1, tBuffer.Data(), 32), 0);
    EXPECT_EQ(tBuffer.m_vec, tNewPtz.m_vec);
    Bytes tNewPanorama = Bytes(8).At<std::uint32_t>(0, 0xDEADBEEF).At<float>(4, -37.5f);
    ASSERT_EQ(KW_SetFishEyeCorrectPara(iId, 1, 3, tNewPanorama.Data(), 8), 0);
    ASSERT_EQ(KW_GetFishEyeCorrectPara(iId, 1, 3, tPanoramaBuffer.Data(), 8), 0);
    EXPECT_EQ(tPanoramaBuffer.m_vec, tNewPanorama.m_vec);

    // Deleting frees the id for the next correction.
    EXPECT_EQ(KW_DeleteFishEyeCorrect(iId, 0), 0);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, 0, 1, tBuffer.Data(), 32), KW_ERR_UNKNOWN_ID);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tPtz.Data(), 88), 0);
    // Ids belong to their player.
    const int iOther = NewPlayer();
    EXPECT_EQ(KW_CreateFishEyeCorrect(iOther, tPtz.Data(), 88), 0);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iOther, 1, 3, tPanoramaBuffer.Data(), 8), KW_ERR_UNKNOWN_ID);
}

TEST_F(EngineCorrections, WholePictureCorrectionKeepsItsId) {
    const int iId = NewPlayer();
    Bytes tSetup = SetupRecord(KW_CORRECT_PTZ, nullptr);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 0);
    Bytes tWhole = Bytes(88)
                       .At<int>(0, 88)
                       .At<int>(8, 256)
                       .At<int>(12, 20)
                       .At<int>(16, 0)
                       .At<int>(20, 10000)
                       .At<int>(24, 0)
                       .At<int>(28, 10000)
                       .At<int>(40, 32)
                       .At<int>(48, 3000)
                       .At<int>(52, 4500)
                       .At<int>(56, 10000)
                       .At<int>(60, 1000)
                       .At<int>(64, 1000);
    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 0, nullptr), 0);
    const int iWhole = KW_SetFishEyeCorrectEnable(iId, 1, tWhole.Data());
    EXPECT_EQ(iWhole, 1);
    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 0, nullptr), 0);
    EXPECT_EQ(KW_SetFishEyeCorrectEnable(iId, 1, tWhole.Data()), iWhole);
    EXPECT_EQ(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 2) << "the whole picture's id stays taken";
    EXPECT_EQ(KW_SetFishEyeCorrectCallBack(iId, iWhole, CorrectSink, this), 0);
    EXPECT_EQ(KW_SetFishEyeCorrectCallBack(iId, iWhole, nullptr, this), 0);
    // Its parameters are not a view's.
    Bytes tBuffer(32);
    EXPECT_EQ(KW_GetFishEyeCorrectPara(iId, iWhole, 1, tBuffer.Data(), 32), KW_ERR_UNKNOWN_ID);
}

TEST_F(EngineCorrections, CallBacksFollowEachRenderedPicture) {
    const int iId = NewPlayer();
    Bytes tSetup = SetupRecord(KW_CORRECT_LAT, nullptr);
    const int iCorrect = KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88);
    g_iCorrectCalls = 0;
    ASSERT_EQ(KW_SetFishEyeCorrectCallBack(iId, iCorrect, CorrectSink, this), 0);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    ASSERT_TRUE(WaitFor([] { return g_iCorrectCalls.load() >= FRAMES - 1; }));
    EXPECT_EQ(g_iLastCorrectId.load(), iCorrect);
    EXPECT_EQ(g_pLastCorrectUser, this);
    // Removed: no more calls once the removal returned.
    ASSERT_EQ(KW_SetFishEyeCorrectCallBack(iId, iCorrect, nullptr, nullptr), 0);
    const int iCalls = g_iCorrectCalls.load();
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, 2 * FRAMES - 1), 2 * FRAMES - 1);
    EXPECT_EQ(g_iCorrectCalls.load(), iCalls);
}

// ---- rendering targets ----

using EngineSurfaces = EngineTest;

TEST_F(EngineSurfaces, EveryViewRendersIntoItsSurface) {
    void* hMain = NewSurface(TEST_WIDTH, TEST_HEIGHT);
    const int iId = NewPlayer(hMain);
    std::vector<void*> vecViews;
    for (int iType : {0, 256, 512, 768, 1024, 1280}) {
        vecViews.push_back(NewSurface(100 + iType / 256, 80));
        Bytes tSetup = SetupRecord(iType, vecViews.back(), 5000, 5000, 10000);
        ASSERT_GE(KW_CreateFishEyeCorrect(iId, tSetup.Data(), 88), 0);
    }
    // A window that is not a surface is kept but rendered nowhere.
    int iNotASurface = 0;
    Bytes tForeign = SetupRecord(256, &iNotASurface);
    ASSERT_GE(KW_CreateFishEyeCorrect(iId, tForeign.Data(), 88), 0);
    Feed(iId, Stream("libx264"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    for (void* hView : vecViews) {
        int iRendered = 0;
        const std::vector<std::uint8_t> vecRgb = Read(hView, &iRendered);
        EXPECT_GE(iRendered, FRAMES - 1);
        EXPECT_GT(BrightPixels(vecRgb), vecRgb.size() / 3 / 10);
    }
    EXPECT_EQ(iNotASurface, 0);
}

TEST_F(EngineSurfaces, ADestroyedSurfaceIsNoLongerRendered) {
    void* hSurface = KW_Ext_CreateSurface(64, 48);
    ASSERT_NE(hSurface, nullptr);
    const int iId = NewPlayer(hSurface);
    ASSERT_EQ(KW_Ext_DestroySurface(hSurface), 0);
    Feed(iId, Stream("mjpeg"));
    EXPECT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    std::vector<unsigned char> vecRgb(64 * 48 * 3);
    EXPECT_EQ(KW_Ext_ReadSurface(hSurface, vecRgb.data(), static_cast<int>(vecRgb.size())),
              KW_ERR_UNKNOWN_ID);
}

TEST_F(EngineSurfaces, SavedAsPng) {
    void* hMain = NewSurface(TEST_WIDTH / 2, TEST_HEIGHT / 2);
    const int iId = NewPlayer(hMain);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    const std::string strPath = TempPath("surface.png");
    ASSERT_EQ(KW_Ext_SaveSurfacePng(hMain, strPath.c_str()), 0);
    const std::vector<std::uint8_t> vecFile = ReadFile(strPath);
    ASSERT_GT(vecFile.size(), 33u);
    const std::uint8_t acSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    EXPECT_TRUE(std::equal(acSignature, acSignature + 8, vecFile.begin()));
    // IHDR: width and height, big-endian, at 16 and 20.
    EXPECT_EQ((vecFile[16] << 24) | (vecFile[17] << 16) | (vecFile[18] << 8) | vecFile[19], TEST_WIDTH / 2);
    EXPECT_EQ((vecFile[20] << 24) | (vecFile[21] << 16) | (vecFile[22] << 8) | vecFile[23], TEST_HEIGHT / 2);
    std::remove(strPath.c_str());
}

TEST(EngineRenderer, EveryViewKindGetsARenderer) {
    for (int iKind : {0, 256, 512, 768, 1024, 1280})
        EXPECT_NE(korvane::CreateViewRenderer(iKind), nullptr);
}

TEST(EngineCodecDetection, FirstUnitsOfEachCodec) {
    size_t uOffset = 99;
    bool blNeedMore = false;
    const std::uint8_t acAvc[] = {0x12, 0, 0, 0, 1, 0x67, 0x42};
    EXPECT_EQ(korvane::DetectCodec(acAvc, sizeof(acAvc), &uOffset, &blNeedMore), KW_CODEC_H264);
    EXPECT_EQ(uOffset, 1u);
    const std::uint8_t acHevc[] = {0, 0, 1, 0x40, 0x01, 0x0C};
    EXPECT_EQ(korvane::DetectCodec(acHevc, sizeof(acHevc), &uOffset, &blNeedMore), KW_CODEC_H265);
    EXPECT_EQ(uOffset, 0u);
    const std::uint8_t acJpeg[] = {0x00, 0x00, 0xFF, 0xD8, 0xFF, 0xE0};
    EXPECT_EQ(korvane::DetectCodec(acJpeg, sizeof(acJpeg), &uOffset, &blNeedMore), KW_CODEC_MJPEG);
    EXPECT_EQ(uOffset, 2u);
    // A start code whose unit is neither codec's is passed over.
    const std::uint8_t acUnknown[] = {0, 0, 1, 0xFF, 0x00, 0, 0, 1, 0x09, 0xF0};
    EXPECT_EQ(korvane::DetectCodec(acUnknown, sizeof(acUnknown), &uOffset, &blNeedMore), KW_CODEC_H264);
    EXPECT_EQ(uOffset, 4u);
    // Too short to decide: more is needed from the start code on.
    const std::uint8_t acShort[] = {7, 7, 0, 0, 1, 0x67};
    EXPECT_EQ(korvane::DetectCodec(acShort, sizeof(acShort), &uOffset, &blNeedMore), KW_CODEC_UNKNOWN);
    EXPECT_TRUE(blNeedMore);
    EXPECT_EQ(uOffset, 2u);
    EXPECT_EQ(korvane::DetectCodec(acShort, 0, &uOffset, &blNeedMore), KW_CODEC_UNKNOWN);
    EXPECT_TRUE(blNeedMore);
}

// ---- capture ----

using EngineCapture = EngineTest;

TEST_F(EngineCapture, FilesOfEachFormat) {
    void* hMain = NewSurface(TEST_WIDTH, TEST_HEIGHT);
    const int iId = NewPlayer(hMain);
    Feed(iId, Stream("mjpeg"));
    ASSERT_GE(WaitFrames(iId, FRAMES - 1), FRAMES - 1);
    // Wait for the stream's end so that the captures and the surface show one picture.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const std::vector<std::uint8_t> vecShown = Read(hMain);

    const std::string strBmp = TempPath("capture.bmp");
    const std::string strPpm = TempPath("capture.ppm");
    const std::string strPng = TempPath("capture.png");
    const std::string strByName = TempPath("by_name.PPM");
    ASSERT_EQ(KW_CaptureBmpPic(iId, strBmp.c_str()), 0);
    ASSERT_EQ(KW_CapturePicture(iId, strPpm.c_str(), KW_CAPTURE_PPM), 0);
    ASSERT_EQ(KW_CapturePicture(iId, strPng.c_str(), KW_CAPTURE_PNG), 0);
    ASSERT_EQ(KW_CapturePic(iId, strByName.c_str()), 0);
    EXPECT_EQ(KW_CapturePic(iId, "/nonexistent-folder/x.bmp"), KW_ERR_IO);

    // PPM: the picture as shown.
    const std::vector<std::uint8_t> vecPpm = ReadFile(strPpm);
    const std::string strHead = "P6\n320 240\n255\n";
    ASSERT_EQ(vecPpm.size(), strHead.size() + vecShown.size());
    EXPECT_EQ(std::string(vecPpm.begin(), vecPpm.begin() + strHead.size()), strHead);
    EXPECT_TRUE(std::equal(vecShown.begin(), vecShown.end(), vecPpm.begin() + strHead.size()));
    EXPECT_EQ(ReadFile(strByName), vecPpm) << "the format follows the extension";

    // BMP: 54-byte header, bottom-up BGR rows.
    const std::vector<std::uint8_t> vecBmp = ReadFile(strBmp);
    ASSERT_EQ(vecBmp.size(), 54u + vecShown.size()); // 960-byte rows need no padding
    Bytes tBmp(vecBmp.size());
    tBmp.m_vec = vecBmp;
    EXPECT_EQ(vecBmp[0], 'B');
    EXPECT_EQ(vecBmp[1], 'M');
    EXPECT_EQ(tBmp.Get<std::uint32_t>(2), vecBmp.size());
    EXPECT_EQ(tBmp.Get<std::uint32_t>(10), 54u);
    EXPECT_EQ(tBmp.Get<std::int32_t>(18), TEST_WIDTH);
    EXPECT_EQ(tBmp.Get<std::int32_t>(22), TEST_HEIGHT);
    EXPECT_EQ(tBmp.Get<std::uint16_t>(28), 24);
    const size_t uX = 170;
    const size_t uY = 100;
    const size_t uShown = (uY * TEST_WIDTH + uX) * 3;
    const size_t uStored = 54 + ((TEST_HEIGHT - 1 - uY) * TEST_WIDTH + uX) * 3;
    EXPECT_EQ(vecBmp[uStored], vecShown[uShown + 2]);
    EXPECT_EQ(vecBmp[uStored + 1], vecShown[uShown + 1]);
    EXPECT_EQ(vecBmp[uStored + 2], vecShown[uShown]);

    // PNG: decodes to the picture as shown.
    const std::vector<std::uint8_t> vecPng = ReadFile(strPng);
    const AVCodec* pCodec = avcodec_find_decoder(AV_CODEC_ID_PNG);
    ASSERT_NE(pCodec, nullptr);
    AVCodecContext* pContext = avcodec_alloc_context3(pCodec);
    ASSERT_EQ(avcodec_open2(pContext, pCodec, nullptr), 0);
    AVPacket* pPacket = av_packet_alloc();
    ASSERT_EQ(av_new_packet(pPacket, static_cast<int>(vecPng.size())), 0);
    std::copy(vecPng.begin(), vecPng.end(), pPacket->data);
    AVFrame* pFrame = av_frame_alloc();
    ASSERT_EQ(avcodec_send_packet(pContext, pPacket), 0);
    ASSERT_EQ(avcodec_receive_frame(pContext, pFrame), 0);
    EXPECT_EQ(pFrame->width, TEST_WIDTH);
    EXPECT_EQ(pFrame->height, TEST_HEIGHT);
    EXPECT_EQ(pFrame->format, AV_PIX_FMT_RGB24);
    bool blSame = true;
    for (int y = 0; y < TEST_HEIGHT && blSame; ++y)
        blSame = std::equal(vecShown.begin() + static_cast<std::ptrdiff_t>(y) * TEST_WIDTH * 3,
                            vecShown.begin() + static_cast<std::ptrdiff_t>(y + 1) * TEST_WIDTH * 3,
                            pFrame->data[0] + static_cast<std::ptrdiff_t>(y) * pFrame->linesize[0]);
    EXPECT_TRUE(blSame);
    av_frame_free(&pFrame);
    av_packet_free(&pPacket);
    avcodec_free_context(&pContext);
    for (const std::string& strPath : {strBmp, strPpm, strPng, strByName})
        std::remove(strPath.c_str());
}
